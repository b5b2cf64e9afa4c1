// SPDX-License-Identifier: GPL-3.0-or-later
// Says what a control does, or why it does nothing now, when the pointer rests on it. It works on a disabled control, too.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Item {
    id: hint

    required property Item over
    property string text

    Accessible.ignored: true

    HoverHandler {
        id: pointer

        readonly property bool isOver: hovered && hint.over.visible && hint.over.contains(hint.over.mapFromItem(parent, point.position))

        parent: hint.over.parent
        enabled: hint.text !== ""
    }

    Loader {
        active: pointer.isOver && hint.text !== ""
        sourceComponent: ToolTip {
            parent: hint.over
            text: hint.text
            visible: true
            delay: 700
            timeout: 8000

            background: Rectangle {
                color: Theme.raised
                radius: 4
                border.width: 1
                border.color: Theme.quietInk
            }
            contentItem: Text {
                text: hint.text
                color: Theme.ink
                font.pixelSize: Theme.smallText
            }
        }
    }
}
