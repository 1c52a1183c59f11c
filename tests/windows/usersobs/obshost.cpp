// SPDX-License-Identifier: GPL-2.0-or-later
// A front end without OBS's window: OBS's own libobs and obs-ffmpeg, a main window with a dock area and one scene.
// Usage: obshost SDK-FOLDER MODULE DATA-FOLDER SECONDS PICTURE.png
// Loads the module, presses "Quelle reparieren", runs for SECONDS and unloads it. Prints what a test reads, one line
// each: "DOCK id | title", "BUTTON text", "SETTINGS kind json", "MEDIA state width height", "OBS log line".
// Under Wine, obs_shutdown unloads the modules and then does not return while a media source waits for a caller.

#include "emptyfrontend.h"

#include <QApplication>
#include <QDockWidget>
#include <QGroupBox>
#include <QMainWindow>
#include <QPushButton>
#include <QTimer>
#include <QtPlugin>
#include <obs.hpp>

#include <cstdarg>
#include <cstdio>

Q_IMPORT_PLUGIN(QMinimalIntegrationPlugin)

namespace {
using namespace std::chrono_literals;

constexpr auto sourceName = "Tarvoline SRTLA";
constexpr auto repairText = u"Quelle reparieren";
constexpr QSize windowSize(410, 580);
constexpr auto dockSettled = 1500ms; // after the module's delayed starts (400 and 800 ms)

void printLine(const QByteArray &line)
{
    std::puts(line.constData());
    std::fflush(stdout);
}

void printLog(int, const char *format, va_list arguments, void *)
{
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    printLine(QByteArray("OBS ") + text);
}

class Frontend : public EmptyFrontend
{
public:
    Frontend(QMainWindow &mainWindow, obs_scene_t *currentScene) : window(mainWindow), scene(currentScene) {}
    void *obs_frontend_get_main_window() override { return &window; }
    obs_source_t *obs_frontend_get_current_scene() override { return obs_source_get_ref(obs_scene_get_source(scene)); }
    bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget) override
    {
        printLine(QByteArray("DOCK ") + id + " | " + title);
        dock = new QDockWidget(QString::fromUtf8(title), &window);
        dock->setWidget(static_cast<QWidget *>(widget));
        window.addDockWidget(Qt::RightDockWidgetArea, dock);
        return true;
    }
    void obs_frontend_remove_dock(const char *) override { delete dock; }

    QMainWindow &window;
    obs_scene_t *scene;
    QDockWidget *dock = nullptr;
};

bool load(const QByteArray &file, const QByteArray &data)
{
    obs_module_t *module = nullptr;
    const int code = obs_open_module(&module, file.constData(), data.constData());
    const bool loaded = code == MODULE_SUCCESS && obs_init_module(module);
    printLine("LOADED " + file + ": " + (loaded ? "yes" : "no, code " + QByteArray::number(code)));
    return loaded;
}

void repairSource(const QDockWidget &dock)
{
    const auto buttons = dock.findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        printLine("BUTTON " + button->text().toUtf8());
        if (button->text() == repairText) {
            button->click();
        }
    }
    const OBSSourceAutoRelease source = obs_get_source_by_name(sourceName);
    if (source) {
        const OBSDataAutoRelease settings = obs_source_get_settings(source);
        printLine(QByteArray("SETTINGS ") + obs_source_get_id(source) + " " + obs_data_get_json(settings));
    }
}

// With all groups open, as the users' guide shows it.
bool saveDockPicture(QDockWidget &dock, const QString &file)
{
    const auto groups = dock.findChildren<QGroupBox *>();
    for (QGroupBox *group : groups) {
        if (group->isCheckable()) {
            group->setChecked(true);
        }
    }
    QApplication::processEvents();
    return dock.grab().save(file);
}

void printMedia()
{
    const OBSSourceAutoRelease source = obs_get_source_by_name(sourceName);
    if (source) {
        printLine("MEDIA " + QByteArray::number(obs_source_media_get_state(source)) + " " +
                  QByteArray::number(obs_source_get_width(source)) + " " +
                  QByteArray::number(obs_source_get_height(source)));
    }
}

// The scene with what the module put into it, and then the libraries, in OBS's own order.
void shutDown(Frontend &frontend)
{
    {
        const OBSSourceAutoRelease source = obs_get_source_by_name(sourceName);
        if (source) {
            obs_source_remove(source);
        }
    }
    obs_set_output_source(0, nullptr);
    obs_scene_release(frontend.scene);
    obs_wait_for_destroy_queue();
    printLine("RELEASED");
    obs_shutdown();
    printLine("LEAKS " + QByteArray::number(static_cast<qlonglong>(bnum_allocs())));
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 6) {
        std::fputs("usage: obshost SDK-FOLDER MODULE DATA-FOLDER SECONDS PICTURE.png\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "minimal:enable_fonts"); // Wine keeps variables that begin with QT_ from its programs
    const QApplication application(argc, argv);
    const QByteArray sdk = argv[1];

    base_set_log_handler(printLog, nullptr);
    if (!obs_startup("de-DE", nullptr, nullptr)) {
        return 1;
    }
    printLine(QByteArray("VERSIONS Qt ") + qVersion() + ", libobs " + obs_get_version_string());
    obs_audio_info audio{};
    audio.samples_per_sec = 48000;
    audio.speakers = SPEAKERS_STEREO;
    obs_reset_audio(&audio);

    QMainWindow window;
    Frontend frontend(window, obs_scene_create("Szene"));
    obs_frontend_set_callbacks_internal(&frontend);
    obs_set_output_source(0, obs_scene_get_source(frontend.scene));
    const bool loaded =
        load(sdk + "/obs-plugins/obs-ffmpeg.dll", sdk + "/data/obs-plugins/obs-ffmpeg") && load(argv[2], argv[3]);
    window.resize(windowSize);
    window.show();

    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &window, printMedia);
    ticks.start(1s);
    if (frontend.dock) {
        QTimer::singleShot(dockSettled, &window, [&frontend] { repairSource(*frontend.dock); });
    }
    QTimer::singleShot(std::chrono::seconds(atoi(argv[4])), &window, [&frontend, argv] {
        if (frontend.dock) {
            const bool saved = saveDockPicture(*frontend.dock, QString::fromLocal8Bit(argv[5]));
            printLine(saved ? "PICTURE saved" : "PICTURE not saved");
        }
        QApplication::quit();
    });
    QApplication::exec();
    ticks.stop();
    shutDown(frontend);
    return loaded ? 0 : 1;
}
