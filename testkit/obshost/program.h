// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
#include <QImage>
#include <QMutex>

struct video_data;

/// OBS's rendered program output with OpenGL, and its most recent frame.
class Program
{
public:
    /// Starts rendering on a canvas of this size; its width must be a multiple of 4, its height even. Libobs must run.
    /// Returns false if there is no graphics device.
    bool start(QSize canvas);
    void stop();
    /// The most recent frame; null before the first one.
    [[nodiscard]] QImage frame() const;

private:
    static void keepFrame(void *program, video_data *data);

    QSize size;
    mutable QMutex frameLock;
    QImage latest;
};
