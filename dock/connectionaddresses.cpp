// SPDX-License-Identifier: GPL-2.0-or-later
#include "connectionaddresses.h"

#include "paneltexts.h"

using namespace Qt::StringLiterals;

QString ConnectionAddresses::ofSenderApp(const QString &publicHost, const QString &listenPort, const QString &streamId)
{
    QString host = publicHost.trimmed();
    if (host.isEmpty()) {
        host = PanelTexts::tr("ÖFFENTLICHE-IP-EINTRAGEN");
    }
    return u"srtla://%1:%2/%3"_s.arg(host, listenPort, streamId);
}

QString ConnectionAddresses::ofMediaSource(const QString &targetPort, const QString &passphrase)
{
    // FFmpeg's unit of latency is the microsecond. SRT uses the larger latency of both ends: the sender's. lossmaxttl
    // is the maximum reordering tolerance in packets, because packets of several links arrive out of order.
    const QString url = u"srt://127.0.0.1:%1?mode=listener&latency=2000&lossmaxttl=40"_s.arg(targetPort);
    return passphrase.isEmpty() ? url : url + u"&passphrase=%1"_s.arg(passphrase);
}
