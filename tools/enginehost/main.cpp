// SPDX-License-Identifier: GPL-2.0-or-later
// Runs one receiver engine without OBS.
#include "arguments.h"
#include "signallines.h"
#include "srtlaengine.h"
#include "stopsignal.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    constexpr int exitStartFailed = 1;
    constexpr int exitUsage = 2;

    QCoreApplication application(argc, argv);
    const auto arguments = parseArguments(QCoreApplication::arguments().sliced(1));
    if (!arguments) {
        std::fputs(usageText, stderr);
        return exitUsage;
    }
    SrtlaEngine engine;
    writeSignalLines(engine);
    onStopSignal([] { QCoreApplication::quit(); });
    if (!engine.start(arguments->listenPort, arguments->target, arguments->targetPort)) {
        return exitStartFailed;
    }
    const int code = QCoreApplication::exec();
    engine.stop();
    return code;
}
