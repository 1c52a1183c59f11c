// SPDX-License-Identifier: GPL-2.0-or-later
// The plug-in's dock with its engine in a host that measures stalls of the UI thread: floodhost LISTEN-PORT TARGET-PORT
// [ERROR-LINES]. The engine logs ERROR-LINES socket errors per second (at most 1000), each in a separate event loop
// iteration, as on a system that reports every datagram to a closed port. Prints a line of JSON per second.
#include "testkit/dockprobe.h"
#include "testkit/obsdouble.h"
#include "testkit/settingsstore.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QLineEdit>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds heartbeatInterval(1);

/// The longest interval of a 1 ms timer.
class Heartbeat
{
public:
    Heartbeat()
    {
        timer.setTimerType(Qt::PreciseTimer);
        timer.callOnTimeout([this] { longestNs = std::max(longestNs, sinceLast()); });
        clock.start();
        timer.start(heartbeatInterval);
    }
    /// The longest interval since the last call, in milliseconds.
    double takeLongestMs()
    {
        constexpr double nanosecondsPerMillisecond = 1e6;
        const qint64 longest = std::max(longestNs, sinceLast());
        longestNs = 0;
        return static_cast<double>(longest) / nanosecondsPerMillisecond;
    }

private:
    qint64 sinceLast()
    {
        const qint64 elapsed = clock.nsecsElapsed();
        clock.restart();
        return elapsed;
    }

    QTimer timer;
    QElapsedTimer clock;
    qint64 longestNs = 0;
};

/// Allocated heap memory, without free memory kept by the C library.
size_t heapKiB()
{
    constexpr size_t bytesPerKiB = 1024;
    const struct mallinfo2 account = mallinfo2();
    return (account.uordblks + account.hblkhd) / bytesPerKiB;
}

/// Opens the log group and starts the receiver on the given ports.
void startOpened(TarvolineDock &dock, const QString &listenPort, const QString &targetPort)
{
    const DockProbe probe(dock);
    probe.linkPortsCheck()->setChecked(false);
    probe.listenPortEdit()->setText(listenPort);
    probe.targetPortEdit()->setText(targetPort);
    for (QGroupBox *const box : dock.findChildren<QGroupBox *>()) {
        if (box->isCheckable()) {
            box->setChecked(true);
        }
    }
    dock.resize(dock.sizeHint());
    dock.show();
    dock.startReceiver();
}

} // namespace

int main(int argc, char **argv)
{
    constexpr int exitUsage = 2;
    const QApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() != 3 && words.size() != 4) {
        std::fputs("usage: floodhost LISTEN-PORT TARGET-PORT [ERROR-LINES]\n", stderr);
        return exitUsage;
    }
    ObsDouble::reset();
    SettingsStore store;
    store.set(u"autoStart"_s, false);
    store.set(u"autoSource"_s, false);
    TarvolineDock dock;
    Heartbeat heartbeat;
    QObject::connect(&DockProbe(dock).engine(), &SrtlaEngine::statisticsChanged, &dock,
                     [&heartbeat](int groups, int paths, double, quint64 packets, quint64 bytes) {
                         std::printf(R"({"event":"second","longestGapMs":%.1f,"groups":%d,"paths":%d,)"
                                     R"("packets":%llu,"bytes":%llu,"heapKiB":%zu})"
                                     "\n",
                                     heartbeat.takeLongestMs(), groups, paths, packets, bytes, heapKiB());
                         std::fflush(stdout);
                     });
    startOpened(dock, words[1], words[2]);
    QTimer errors;
    if (const int lines = words.value(3).toInt(); lines > 0) {
        constexpr int msPerSecond = 1000;
        errors.setTimerType(Qt::PreciseTimer);
        errors.callOnTimeout([&dock] {
            Q_EMIT DockProbe(dock).engine().logMessage(u"SRT | Gruppe 3fa07c1d22e9: Connection refused"_s);
        });
        errors.start(msPerSecond / lines);
    }
    return QApplication::exec();
}
