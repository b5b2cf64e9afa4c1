// SPDX-License-Identifier: GPL-3.0-or-later
// The windows of plug-ins that are open.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import QtQml
import Vrel.Console

Instantiator {
    id: windows

    required property ConsoleModel desk
    required property Window owner
    required property real drawScale

    model: desk.editors
    delegate: EditorWindow {
        desk: windows.desk
        owner: windows.owner
        drawScale: windows.drawScale
    }
}
