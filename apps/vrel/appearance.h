// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::app {

/// Dark and large enough for a stage, also where Qt draws: file panels and their parts. Once, with the application
/// made.
void darkenApplication();

}  // namespace vrel::app
