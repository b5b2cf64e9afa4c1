// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::system {

/// Keeps ALSA's library from writing to the terminal, where it fills the screen when there is no card. For the
/// whole process, as often as one likes.
void silenceAlsa();

}  // namespace vrel::system
