// SPDX-License-Identifier: GPL-2.0-or-later
#include "httpsjson.h"

#include <QJsonDocument>
#include <QObject>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int httpsPort = 443;

QJsonObject failureObject(const QString &message)
{
    return {{u"ok"_s, false}, {u"message"_s, message}};
}

QString failureText(HttpsStep step)
{
    switch (step) {
    case HttpsStep::Open:
        return QObject::tr("WinHTTP konnte nicht gestartet werden. Fehler %1");
    case HttpsStep::Connect:
        return QObject::tr("Serververbindung fehlgeschlagen. WinHTTP-Fehler %1");
    case HttpsStep::Request:
        return QObject::tr("HTTPS-Anfrage konnte nicht erstellt werden. Fehler %1");
    case HttpsStep::Transfer:
        break;
    }
    return QObject::tr("Server nicht erreichbar. WinHTTP-Fehler %1");
}

} // namespace

std::optional<HttpsAddress> parseHttpsAddress(const QString &url)
{
    const QUrl parsed(url);
    if (!parsed.isValid() || parsed.scheme() != "https"_L1) {
        return std::nullopt;
    }
    HttpsAddress address;
    address.host = parsed.host(QUrl::FullyEncoded);
    address.port = parsed.port(httpsPort);
    address.objectName = parsed.path(QUrl::FullyEncoded);
    if (parsed.hasQuery()) {
        address.objectName += u'?' + parsed.query();
    }
    return address;
}

HttpsJsonReply parseResponse(const HttpsResponse &response)
{
    const QJsonObject object = QJsonDocument::fromJson(response.body).object();
    if (!object.isEmpty()) {
        return {object, response.httpStatus};
    }
    const QString message = QObject::tr("Der Server lieferte keine gültige JSON-Antwort. HTTP %1");
    return {failureObject(message.arg(response.httpStatus)), response.httpStatus};
}

HttpsJsonReply describeFailure(const HttpsFailure &failure)
{
    return {failureObject(failureText(failure.step).arg(failure.code)), 0};
}

HttpsJsonReply exchangeJson(const QString &url, const QByteArray &body)
{
    const std::optional<HttpsAddress> address = parseHttpsAddress(url);
    if (!address) {
        return {failureObject(QObject::tr("Ungültige Server-Adresse.")), 0};
    }
    const std::variant<HttpsResponse, HttpsFailure> outcome = sendPost(*address, body);
    if (const HttpsFailure *failure = std::get_if<HttpsFailure>(&outcome)) {
        return describeFailure(*failure);
    }
    return parseResponse(std::get<HttpsResponse>(outcome));
}
