// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QWidget>

#include <functional>

// The real headers, so that the double has the same declarations.
#include <obs-frontend-api.h>
#include <obs-module.h>

/// Replaces the libobs and front-end functions that the plug-in uses: keeps sources, scenes and settings with reference
/// counts, records calls, and can be set to fail.
///
/// Functions accept null where the real ones do. Docks are in a QDockWidget of the main window, as in OBS, and are
/// destroyed with it.
namespace ObsDouble {

struct LogLine
{
    int level = 0;
    QString text;
    bool operator==(const LogLine &) const = default;
};

struct RegisteredDock
{
    QString id;
    QString title;
    QWidget *widget = nullptr;
};

enum class CurrentScene { None, Scene, NotAScene };

/// Resets all state: a main window and the current scene "Szene".
void reset();

// Recorded calls.

/// The names of the called functions in order, without blog and text_lookup_getstr.
const QStringList &calls();
void clearCalls();
const QList<LogLine> &logLines();
/// Number of references to sources and settings objects that the plug-in has not released.
int openReferences();
/// Calls with released objects, and releases without a reference.
const QStringList &misuses();

// The sources of OBS.

bool hasSource(const QString &name);
QString sourceType(const QString &name);
QVariantMap sourceSettings(const QString &name);
int updateCount(const QString &name);
/// Adds a source as a user of OBS would.
void addSource(const QString &name, const QString &type, const QVariantMap &settings = {});
void renameSource(const QString &name, const QString &newName);
/// Names of the sources in the scene, one for each scene item.
QStringList itemsOfScene(const QString &scene = QStringLiteral("Szene"));
void addSceneItem(const QString &scene, const QString &source);
void setCurrentScene(CurrentScene kind, const QString &scene = QStringLiteral("Szene"));
void failSourceCreation(bool fail);

// The front end.

void failDockRegistration(bool fail);
const QList<RegisteredDock> &docks();
/// Calls \a action with each dock that the plug-in has removed, while the dock is still whole.
void onDockRemoval(std::function<void(QWidget *)> action);
/// The front end quits as OBS does: destroys the main window with its docks, then removes the front-end functions.
void quitFrontend();

// Locale tables.

/// Languages for which the module has a file; "de-DE" at first.
void setLocaleFiles(const QStringList &languages);
/// Locale tables that exist.
int openLookups();
/// The locale that the newest table was loaded for.
QString lookupLocale();
/// The module handle given to the last obs_module_load_locale.
obs_module_t *lookupModule();

} // namespace ObsDouble
