// SPDX-License-Identifier: GPL-3.0-or-later
// One area of the window.
import QtQuick
import Vrel.Console

Rectangle {
    color: Theme.panel
    radius: Theme.radius
    border.width: 1
    border.color: Theme.raised
}
