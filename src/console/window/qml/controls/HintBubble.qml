// SPDX-License-Identifier: GPL-3.0-or-later
// The words of a hint, beside the control that they are about.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ToolTip {
    id: bubble

    objectName: "hintBubble"

    delay: 700
    timeout: 8000

    background: Rectangle {
        color: Theme.raised
        radius: 4
        border.width: 1
        border.color: Theme.quietInk
    }
    contentItem: Text {
        objectName: "hintWords"
        text: bubble.text
        color: Theme.ink
        font.pixelSize: Theme.smallText
    }
}
