// SPDX-License-Identifier: GPL-3.0-or-later
// Three bars: the handle of a drag.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Item {
    id: glyph

    property color color: Theme.quietInk

    implicitWidth: 22
    implicitHeight: 18

    Column {
        anchors.centerIn: parent
        spacing: 4

        Repeater {
            model: 3

            Rectangle {
                width: 22
                height: 3
                radius: 1
                color: glyph.color
            }
        }
    }
}
