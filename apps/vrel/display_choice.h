// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vrel::app {

/// Lets the toolkit, here and in guests, open its windows by X11 where a display for it is named, in a Wayland session
/// too: the windows of plug-ins are X11's. Where that display does not answer, Wayland is used; a platform that the
/// user has named is kept. Before the application is made, with no other thread.
void preferX11();

}  // namespace vrel::app
