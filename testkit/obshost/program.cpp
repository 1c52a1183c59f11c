// SPDX-License-Identifier: GPL-2.0-or-later
#include "program.h"

#include <obs.hpp>

namespace {
// Low, because rendering is done in software; the test pattern changes twice per second.
constexpr uint32_t framesPerSecond = 15;
} // namespace

bool Program::start(QSize canvas)
{
    obs_video_info video{};
    video.graphics_module = "libobs-opengl"; // libobs-d3d11 needs functions that Wine lacks
    video.fps_num = framesPerSecond;
    video.fps_den = 1;
    video.base_width = video.output_width = static_cast<uint32_t>(canvas.width());
    video.base_height = video.output_height = static_cast<uint32_t>(canvas.height());
    video.output_format = VIDEO_FORMAT_BGRA;
    video.colorspace = VIDEO_CS_709;
    video.range = VIDEO_RANGE_FULL;
    video.scale_type = OBS_SCALE_BILINEAR;
    if (obs_reset_video(&video) != OBS_VIDEO_SUCCESS) {
        return false;
    }
    size = canvas;
    obs_add_raw_video_callback(nullptr, keepFrame, this);
    return true;
}

void Program::stop()
{
    if (size.isValid()) {
        obs_remove_raw_video_callback(keepFrame, this);
    }
}

QImage Program::frame() const
{
    const QMutexLocker locker(&frameLock);
    return latest;
}

// On libobs's video thread; the pixels are valid during the call only.
void Program::keepFrame(void *program, video_data *data)
{
    auto &self = *static_cast<Program *>(program);
    const QImage frame(data->data[0], self.size.width(), self.size.height(), data->linesize[0], QImage::Format_RGB32);
    const QMutexLocker locker(&self.frameLock);
    self.latest = frame.copy();
}
