// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::app {

/// Keeps the toolkit from waiting for a message bus of a session that has none: where there is no bus, its library
/// would start one by a helper program, which may never answer. Before the application is made, with no other thread.
void forgoAbsentSessionBus();

}  // namespace vrel::app
