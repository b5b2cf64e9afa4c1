// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <memory>
#include <string>

#include "platform/video_player.h"

namespace vrel::system {

// Pictures that the projector makes itself, of the size of the stage. Any thread; they take milliseconds.

/// White words in the middle of nothing. `scale`: pixels of a point.
[[nodiscard]] std::shared_ptr<const VideoPicture> placeholderPicture(const std::string& words, QSize size,
                                                                     double scale);

/// Bars of colours and of greys, a circle, the edges of the stage, and lines of text.
[[nodiscard]] std::shared_ptr<const VideoPicture> testPicture(const std::string& lines, QSize size, double scale);

}  // namespace vrel::system
