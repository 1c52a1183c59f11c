// SPDX-License-Identifier: GPL-2.0-or-later
#include "testkit/httpsservers.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkProxy>

using namespace Qt::StringLiterals;

namespace {

// Generous: the machine may be busy with everything else.
constexpr int controlTimeoutMs = 60000;

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
    control.connectToHost(QHostAddress(QHostAddress::LocalHost), door(u"control"_s));
    if (control.waitForConnected(controlTimeoutMs)) {
        reset();
    }
}

QString HttpsServers::authorityFile() const
{
    return text(u"authority"_s);
}

quint16 HttpsServers::door(const QString &name) const
{
    return static_cast<quint16>(description.value("doors"_L1).toObject().value(name).toInt());
}

QString HttpsServers::text(const QString &name) const
{
    return description.value(name).toString();
}

void HttpsServers::answer(const QString &target, const ServerAnswer &answer)
{
    QJsonArray headers;
    for (const auto &[name, value] : answer.headers) {
        headers.append(QJsonArray{name, value});
    }
    QJsonObject object{{u"command"_s, u"answer"_s},
                       {u"target"_s, target},
                       {u"status"_s, answer.status},
                       {u"headers"_s, headers},
                       {u"body"_s, QString::fromLatin1(answer.body.toBase64())},
                       {u"fill"_s, answer.fill},
                       {u"framing"_s, answer.framing},
                       {u"then"_s, answer.then},
                       {u"pauseMs"_s, answer.pauseMs}};
    if (answer.announced >= 0) {
        object.insert("announced"_L1, answer.announced);
    }
    command(object);
}

QList<ServerRequest> HttpsServers::requests()
{
    QList<ServerRequest> requests;
    const QJsonArray received = command({{u"command"_s, u"requests"_s}}).value("requests"_L1).toArray();
    for (const QJsonValue &value : received) {
        const QJsonObject request = value.toObject();
        requests.append({request.value("door"_L1).toString(), decoded(request.value("head"_L1)),
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
        if (!control.waitForReadyRead(controlTimeoutMs)) {
            qFatal("The test's server does not answer: %s", qPrintable(control.errorString()));
        }
    }
    return QJsonDocument::fromJson(control.readLine()).object();
}
