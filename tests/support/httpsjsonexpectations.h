// SPDX-License-Identifier: GPL-2.0-or-later
// What the tests of the JSON exchange expect, whichever transport is built in.
#pragma once

#include <QJsonObject>
#include <QOperatingSystemVersion>
#include <QString>

namespace HttpsJson {

/** The number by which each of the two transports calls the same failure. */
struct ErrorNumber
{
    int curl = 0;
    int winHttp = 0;

    int here() const
    {
        return QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows ? winHttp : curl;
    }
};

inline constexpr ErrorNumber nameNotResolved{6, 12007};
inline constexpr ErrorNumber cannotConnect{7, 12029};
inline constexpr ErrorNumber timedOut{28, 12002};
inline constexpr ErrorNumber badCertificate{60, 12175};

inline QJsonObject failure(const QString &message)
{
    return {{QStringLiteral("ok"), false}, {QStringLiteral("message"), message}};
}

inline QJsonObject unreachable(ErrorNumber number)
{
    return failure(QStringLiteral("Server nicht erreichbar. WinHTTP-Fehler %1").arg(number.here()));
}

inline QJsonObject noJson(int status)
{
    return failure(QStringLiteral("Der Server lieferte keine gültige JSON-Antwort. HTTP %1").arg(status));
}

/** The object that jsonservice.py sends for most paths. */
inline QJsonObject servedObject()
{
    return {{QStringLiteral("ok"), true}, {QStringLiteral("text"), QStringLiteral("Grüße")}};
}

} // namespace HttpsJson
