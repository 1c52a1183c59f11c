// SPDX-License-Identifier: GPL-2.0-or-later
// State of the double, shared by the test interface (obsdouble.cpp) and the called functions (obsdouble_calls.cpp).
#pragma once

#include "testkit/obsdouble.h"

#include <QMainWindow>
#include <QSet>

#include <functional>
#include <memory>
#include <vector>

#include <util/text-lookup.h>

// Types that libobs's headers only declare.
struct obs_data
{
    int references = 1;
    int taken = 0; // references held by the plug-in
    QVariantMap values;
};

struct obs_scene
{
    struct obs_source *source = nullptr;
    QStringList items;
};

struct obs_source
{
    QString name;
    QString type;
    obs_data *settings = nullptr;
    std::unique_ptr<obs_scene> scene;
    int references = 1;
    int taken = 0; // references held by the plug-in
    int updates = 0;
};

struct text_lookup
{
    QString locale;
};

namespace ObsDouble {

struct State
{
    QStringList calls;
    QStringList misuses;
    QList<LogLine> logLines;
    std::vector<std::unique_ptr<obs_source>> sources;
    std::vector<std::unique_ptr<obs_data>> data;
    QSet<const void *> living;
    obs_source *currentScene = nullptr;
    bool sourceCreationFails = false;

    std::unique_ptr<QMainWindow> mainWindow;
    QList<RegisteredDock> docks;
    bool dockRegistrationFails = false;
    std::function<void(QWidget *)> dockRemovalAction;

    QStringList localeFiles{QStringLiteral("de-DE")};
    std::vector<std::unique_ptr<text_lookup>> lookups;
    QString lookupLocale;
    obs_module_t *lookupModule = nullptr;
};

State &state();

obs_data *newData(const QVariantMap &values = {});
obs_source *newSource(const QString &name, const QString &type, const QVariantMap &settings);
/// Null when there is no source of that name.
obs_source *findSource(const QString &name);

} // namespace ObsDouble
