// SPDX-License-Identifier: GPL-2.0-or-later
#include "frontend.h"

#include "report.h"

#include <obs.hpp>

using namespace Qt::StringLiterals;

namespace {
constexpr uint32_t programChannel = 0;
}

Frontend::Frontend(QSize windowSize) : scene(obs_scene_create("Szene"))
{
    obs_set_output_source(programChannel, obs_scene_get_source(scene));
    window.resize(windowSize);
    window.show();
}

Frontend::~Frontend()
{
    releaseScene();
}

QStringList Frontend::sceneItems() const
{
    QStringList names;
    const auto add = [](obs_scene_t *, obs_sceneitem_t *item, void *list) {
        static_cast<QStringList *>(list)->append(
            QString::fromUtf8(obs_source_get_name(obs_sceneitem_get_source(item))));
        return true;
    };
    obs_scene_enum_items(scene, add, &names);
    return names;
}

bool Frontend::removeSceneItem(const char *name)
{
    obs_sceneitem_t *item = obs_scene_find_source(scene, name);
    obs_sceneitem_remove(item); // null is allowed
    return item != nullptr;
}

void Frontend::releaseScene()
{
    if (!scene) {
        return;
    }
    obs_set_output_source(programChannel, nullptr);
    const auto remove = [](void *, obs_source_t *source) {
        obs_source_remove(source);
        return true;
    };
    obs_enum_scenes(remove, nullptr); // libobs's canvas holds a reference to each scene
    obs_enum_sources(remove, nullptr);
    obs_scene_release(scene);
    scene = nullptr;
}

obs_source_t *Frontend::obs_frontend_get_current_scene()
{
    return obs_source_get_ref(obs_scene_get_source(scene));
}

bool Frontend::obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
    report("dock", {{u"id"_s, QString::fromUtf8(id)}, {u"title"_s, QString::fromUtf8(title)}});
    addedDock = new QDockWidget(QString::fromUtf8(title), &window);
    addedDock->setWidget(static_cast<QWidget *>(widget));
    window.addDockWidget(Qt::RightDockWidgetArea, addedDock);
    return true;
}
