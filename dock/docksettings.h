// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLatin1StringView>

/// Settings store, keys and default values of the panel.
namespace DockSettings {

inline constexpr QLatin1StringView organisation{"Tarvoline"};
inline constexpr QLatin1StringView application{"SRTLA OBS Plugin"};

inline constexpr QLatin1StringView listenPort{"listenPort"};
inline constexpr QLatin1StringView targetPort{"targetPort"};
inline constexpr QLatin1StringView publicHost{"publicHost"};
inline constexpr QLatin1StringView streamId{"streamId"};
inline constexpr QLatin1StringView password{"password"};
inline constexpr QLatin1StringView autoStart{"autoStart"};
inline constexpr QLatin1StringView autoSource{"autoSource"};
inline constexpr QLatin1StringView linkPorts{"linkPorts"};
/// Seconds since 1970-01-01 UTC of the last update check that was answered with a JSON object.
inline constexpr QLatin1StringView lastUpdateCheckUtc{"lastUpdateCheckUtc"};

inline constexpr quint16 defaultListenPort = 5000;
inline constexpr quint16 defaultTargetPort = 5002;
inline constexpr QLatin1StringView defaultStreamId{"live"};
inline constexpr bool defaultAutoStart = true;
inline constexpr bool defaultAutoSource = true;
inline constexpr bool defaultLinkPorts = true;

} // namespace DockSettings
