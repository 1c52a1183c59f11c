// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include <QJsonObject>

class Frontend;
class QAbstractButton;
class QWidget;

/// The visible state: "labels" (a list), "edits", "checks" and "buttons" (enabled or not) of the dock by their texts or
/// accessible names; "box" with "title" and "text" while a message box is open; "items" of the scene; "source" with
/// "kind", "settings", "media", "width" and "height" while there is a media source.
QJsonObject currentState(const Frontend &frontend);

/// Null while no message box is open.
QAbstractButton *defaultButtonOfMessageBox();

/// Reports each line that is appended to the dock's log as an event "dockLog".
void reportDockLog(const QWidget &dock);
