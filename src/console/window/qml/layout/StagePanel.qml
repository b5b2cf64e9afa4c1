// SPDX-License-Identifier: GPL-3.0-or-later
// What the audience sees, or would see if it were projected. While it is folded nothing of it is drawn.
import QtQuick
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    objectName: "stagePanel"
    visible: !desk.session.isStageFolded
    implicitHeight: (width - 8) * 9 / 16 + 8

    Binding {
        target: panel.desk.stage
        property: "isWatched"
        value: panel.visible
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: 4
        color: "black"

        ClipPictureItem {
            id: picture

            objectName: "stagePicture"
            anchors.fill: parent
            frame: panel.desk.stage.frame
            Accessible.role: Accessible.Graphic
            Accessible.name: panel.desk.hints.stage
            Accessible.description: panel.desk.session.isProjected ? "" : panel.desk.hints.notProjected
        }
        Rectangle {
            objectName: "stageClosed"
            anchors.left: parent.left
            anchors.bottom: parent.bottom
            visible: !panel.desk.session.isProjected
            width: closed.implicitWidth + 12
            height: closed.implicitHeight + 4
            color: Theme.well

            Text {
                id: closed

                anchors.centerIn: parent
                text: panel.desk.hints.notProjected
                color: Theme.readingInk
                font.pixelSize: Theme.tinyText
                Accessible.ignored: true
            }
        }
    }
}
