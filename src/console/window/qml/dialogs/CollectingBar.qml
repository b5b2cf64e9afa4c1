// SPDX-License-Identifier: GPL-3.0-or-later
// How far the setlist is collected, while everything else goes on.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: bar

    required property ConsoleModel desk

    readonly property real done: desk.session.collected

    objectName: "collectingBar"
    visible: done > 0
    width: 560
    height: 64
    border.width: 2
    border.color: Theme.teal

    RowLayout {
        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: Theme.gap

        Text {
            Layout.preferredWidth: 220
            text: bar.desk.hints.collecting
            color: Theme.ink
            font.pixelSize: Theme.bodyText
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 16
            radius: 8
            color: Theme.well
            border.width: 1
            border.color: Theme.line

            Accessible.role: Accessible.ProgressBar
            Accessible.name: bar.desk.hints.collecting

            Rectangle {
                width: bar.done * parent.width
                height: parent.height
                radius: 8
                color: Theme.teal
            }
        }
        PushButton {
            objectName: "stopCollecting"
            text: bar.desk.hints.stopCollecting
            spokenName: text + ": " + bar.desk.hints.collecting
            textSize: Theme.smallText
            onClicked: bar.desk.commands.stopCollecting()
        }
    }
}
