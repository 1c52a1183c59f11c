// SPDX-License-Identifier: GPL-2.0-or-later
#include "testkit/httpsservers.h"

#include "testkit/timelimits.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkProxy>

using namespace Qt::StringLiterals;

namespace {

QByteArray decoded(const QJsonValue &base64)
{
    return QByteArray::fromBase64(base64.toString().toLatin1());
}

} // namespace

HttpsServers::HttpsServers() : description(QJsonDocument::fromJson(qgetenv("TARVOLINE_TEST_SERVERS")).object())
{
    if (description.isEmpty()) {
        return;
    }
    control.setProxy(QNetworkProxy::NoProxy);
    control.connectToHost(QHostAddress(QHostAddress::LocalHost), endpoint(u"control"_s));
    if (control.waitForConnected(waitMs)) {
        reset();
    }
}

QString HttpsServers::authorityFile() const
{
    return text(u"authority"_s);
}

quint16 HttpsServers::endpoint(const QString &name) const
{
    return static_cast<quint16>(description.value("endpoints"_L1).toObject().value(name).toInt());
}

QString HttpsServers::text(const QString &name) const
{
    return description.value(name).toString();
}

void HttpsServers::respond(const QString &target, const ServerResponse &response)
{
    QJsonArray headers;
    for (const auto &[name, value] : response.headers) {
        headers.append(QJsonArray{name, value});
    }
    QJsonObject object{{u"command"_s, u"answer"_s},
                       {u"target"_s, target},
                       {u"status"_s, response.status},
                       {u"headers"_s, headers},
                       {u"body"_s, QString::fromLatin1(response.body.toBase64())},
                       {u"fill"_s, response.fill},
                       {u"framing"_s, response.framing},
                       {u"then"_s, response.then},
                       {u"pauseMs"_s, response.pauseMs}};
    if (response.announced >= 0) {
        object.insert("announced"_L1, response.announced);
    }
    command(object);
}

QList<ServerRequest> HttpsServers::requests()
{
    QList<ServerRequest> requests;
    const QJsonArray received = command({{u"command"_s, u"requests"_s}}).value("requests"_L1).toArray();
    for (const QJsonValue &value : received) {
        const QJsonObject request = value.toObject();
        requests.append({request.value("endpoint"_L1).toString(), decoded(request.value("head"_L1)),
                         decoded(request.value("body"_L1))});
    }
    return requests;
}

int HttpsServers::connections()
{
    return command({{u"command"_s, u"connections"_s}}).value("connections"_L1).toInt();
}

void HttpsServers::reset()
{
    command({{u"command"_s, u"reset"_s}});
}

QJsonObject HttpsServers::command(const QJsonObject &object)
{
    control.write(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
    while (!control.canReadLine()) {
        if (!control.waitForReadyRead(waitMs)) {
            qFatal("The test server does not respond: %s", qPrintable(control.errorString()));
        }
    }
    return QJsonDocument::fromJson(control.readLine()).object();
}
