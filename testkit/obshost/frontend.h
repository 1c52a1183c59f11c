// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include "emptyfrontend.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QPointer>

/// A main window with a dock area, and a scene that is current and on OBS's first output channel; all other functions
/// of the front-end interface are empty. The scene needs a running libobs.
class Frontend : public EmptyFrontend
{
public:
    explicit Frontend(QSize windowSize);
    ~Frontend() override;

    /// The dock that a module has added; null without one.
    [[nodiscard]] QDockWidget *dock() const { return addedDock; }
    /// The names of the current scene's items.
    [[nodiscard]] QStringList sceneItems() const;
    /// Deletes an item of the current scene, as a user does; false without one of this name.
    bool removeSceneItem(const char *name);
    /// Takes the scene off the output and releases it, as OBS does before it shuts libobs down.
    void releaseScene();

    void *obs_frontend_get_main_window() override { return &window; }
    obs_source_t *obs_frontend_get_current_scene() override;
    bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget) override;
    void obs_frontend_remove_dock(const char *) override { delete addedDock; }

private:
    QMainWindow window;
    QPointer<QDockWidget> addedDock;
    obs_scene_t *scene;
};
