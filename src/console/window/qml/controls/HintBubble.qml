// SPDX-License-Identifier: GPL-3.0-or-later
// The words of a hint, beside the control that they are about.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ToolTip {
    id: bubble

    objectName: "hintBubble"

    timeout: 8000

    // Not by the delay of a tool tip, which opens it also where its control has just been taken away.
    Timer {
        objectName: "hintDelay"
        interval: 700
        running: true
        onTriggered: {
            if (bubble.parent?.Window.window)
                bubble.open();
        }
    }

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
