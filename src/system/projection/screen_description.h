// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop.h"

class QScreen;

namespace vrel::system {

/// A screen of Qt's in the platform's terms. Qt's thread.
[[nodiscard]] NSScreen describeScreen(const QScreen& screen);

}  // namespace vrel::system
