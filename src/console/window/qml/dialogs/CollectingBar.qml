// SPDX-License-Identifier: GPL-3.0-or-later
// How far the setlist is collected, while everything else goes on.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: bar

    required property ConsoleModel desk

    readonly property real done: desk.session.collected

    objectName: "collectingBar"
    visible: done > 0
    spacing: Theme.gap

    Text {
        Layout.leftMargin: Theme.gap
        text: bar.desk.hints.collecting
        color: Theme.ink
        font.pixelSize: Theme.smallText
        Accessible.ignored: true
    }
    ProgressLine {
        Layout.fillWidth: true
        Layout.preferredWidth: 120
        spokenName: bar.desk.hints.collecting
        value: bar.done
    }
    PushButton {
        objectName: "stopCollecting"
        implicitHeight: 28
        padding: 2
        text: bar.desk.hints.stopCollecting
        spokenName: text + ": " + bar.desk.hints.collecting
        textSize: Theme.smallText
        onClicked: bar.desk.commands.stopCollecting()
    }
}
