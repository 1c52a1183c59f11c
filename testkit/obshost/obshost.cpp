// SPDX-License-Identifier: GPL-2.0-or-later
// A front end without OBS's window: OBS's own libobs and obs-ffmpeg, a main window with a dock area and one scene.
// Usage: obshost SDK-FOLDER MODULE DATA-FOLDER [WIDTHxHEIGHT]
// Loads the module, executes commands (commands.h) until "quit", and unloads it. With a size, OBS renders the scene on
// a canvas of that size. Events on standard output in addition to those of the commands: "versions", "loaded" for each
// module, "dock", "obsLog", "dockLog", "ready", "released" (the scene and its sources are destroyed), "ended" (libobs
// is shut down).
#include "commands.h"
#include "dockstate.h"
#include "frontend.h"
#include "program.h"
#include "report.h"

#include <QApplication>
#include <QLibrary>
#include <obs.hpp>

#include <cstdio>
#include <windows.h>

using namespace Qt::StringLiterals;

namespace {
constexpr QSize windowSize(410, 580);

bool load(const QByteArray &file, const QByteArray &data)
{
    obs_module_t *module = nullptr;
    const int code = obs_open_module(&module, file.constData(), data.constData());
    const bool loaded = code == MODULE_SUCCESS && obs_init_module(module);
    report("loaded", {{u"module"_s, QString::fromUtf8(file)}, {u"ok"_s, loaded}, {u"code"_s, code}});
    return loaded;
}

QSize sizeFrom(const QByteArray &text)
{
    const auto numbers = text.split('x');
    return {numbers.first().toInt(), numbers.last().toInt()};
}

// Under Wine a thread of libsrt keeps a mutex locked while it waits for a condition (docs/windows.md). The cleanup
// after the last connection would block on that mutex, so this additional reference prevents it.
bool keepSrtStarted()
{
    QLibrary srt(u"srt"_s);
    const QFunctionPointer startUp = srt.resolve("srt_startup");
    return startUp && reinterpret_cast<int (*)()>(startUp)() >= 0;
}

bool startObs(const QByteArray &sdk)
{
    base_set_log_handler(reportObsLog, nullptr);
    if (!keepSrtStarted() || !obs_startup("de-DE", nullptr, nullptr)) {
        return false;
    }
    report("versions",
           {{u"qt"_s, QString::fromLatin1(qVersion())}, {u"libobs"_s, QString::fromUtf8(obs_get_version_string())}});
    // OBS searches the effects relative to its own program, so this program adds their path; the call is deprecated.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    obs_add_data_path((sdk + "/data/effects/").constData());
    QT_WARNING_POP
    obs_audio_info audio{};
    audio.samples_per_sec = 48000;
    audio.speakers = SPEAKERS_STEREO;
    return obs_reset_audio(&audio);
}

bool runUntilQuit(const QByteArray &sdk, const char *module, const char *data, Program &program)
{
    Frontend frontend(windowSize);
    obs_frontend_set_callbacks_internal(&frontend);
    const bool loaded =
        load(sdk + "/obs-plugins/obs-ffmpeg.dll", sdk + "/data/obs-plugins/obs-ffmpeg") && load(module, data);
    if (frontend.dock()) {
        reportDockLog(*frontend.dock());
    }
    const Commands commands(frontend, program);
    report("ready");
    if (loaded) {
        QApplication::exec();
    }
    // In OBS's own order: the scenes, then libobs with its modules, while the main window still exists.
    program.stop();
    frontend.releaseScene();
    obs_wait_for_destroy_queue();
    report("released");
    obs_shutdown();
    return loaded;
}

// QApplication's destructor waits for the tasks in Qt's thread pool, as at the end of OBS.
int runApplication(int argc, char **argv)
{
    const QApplication application(argc, argv);
    Program program;
    if (!startObs(argv[1]) || (argc == 5 && !program.start(sizeFrom(argv[4])))) {
        report("failed");
        return 1;
    }
    return runUntilQuit(argv[1], argv[2], argv[3], program) ? 0 : 1;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc < 4 || argc > 5) {
        std::fputs("usage: obshost SDK-FOLDER MODULE DATA-FOLDER [WIDTHxHEIGHT]\n", stderr);
        return 2;
    }
    const int code = runApplication(argc, argv);
    report("ended", {{u"leaks"_s, static_cast<qint64>(bnum_allocs())}});
    // Libsrt's static destructor would block as its cleanup does (keepSrtStarted).
    return !TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
}
