// SPDX-License-Identifier: GPL-3.0-or-later
// How long the last switch of songs took, or that one is under way.
import QtQuick
import Vrel.Console

Row {
    id: status

    required property ConsoleModel desk

    spacing: 6

    Accessible.role: Accessible.StaticText
    Accessible.name: words.text

    Rectangle {
        objectName: "switchDot"
        anchors.verticalCenter: parent.verticalCenter
        width: 6
        height: 6
        radius: 3
        color: status.desk.session.isSwitching ? Theme.warning : Theme.ready
    }
    Text {
        id: words

        objectName: "switchStatus"
        text: status.desk.session.switchText
        color: Theme.quietInk
        font.pixelSize: Theme.tinyText
        font.bold: true
    }
}
