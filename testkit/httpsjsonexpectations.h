// SPDX-License-Identifier: GPL-2.0-or-later
// Expected results of the JSON exchange for all transports.
#pragma once

#include <QJsonObject>
#include <QLibrary>
#include <QOperatingSystemVersion>
#include <QString>

namespace HttpsJson {

/// True under Wine, whose WinHTTP differs from that of Windows.
inline bool runsUnderWine()
{
    return QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows &&
           QLibrary::resolve(QStringLiteral("ntdll"), "wine_get_version") != nullptr;
}

/// The error number of a failure for each transport. Those of Windows are from WinHTTP's documentation.
struct ErrorNumber
{
    int curl = 0;
    int windows = 0;
    int wine = windows;

    int here() const
    {
        if (QOperatingSystemVersion::currentType() != QOperatingSystemVersion::Windows) {
            return curl;
        }
        return runsUnderWine() ? wine : windows;
    }
};

inline constexpr ErrorNumber nameNotResolved{6, 12007};
inline constexpr ErrorNumber cannotConnect{7, 12029};
inline constexpr ErrorNumber timedOut{28, 12002};
inline constexpr ErrorNumber timedOutInHandshake{28, 12002, 12157};
inline constexpr ErrorNumber timedOutInResponse{28, 12002, 10060};
inline constexpr ErrorNumber badCertificate{60, 12175, 12157};
inline constexpr ErrorNumber brokenOff{56, 12030, 12152};
inline constexpr ErrorNumber redirectRefused{1, 12156};
inline constexpr ErrorNumber tooManyRedirects{47, 12156};

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

/// The object that jsonservice.py sends by default.
inline QJsonObject servedObject()
{
    return {{QStringLiteral("ok"), true}, {QStringLiteral("text"), QStringLiteral("Grüße")}};
}

} // namespace HttpsJson
