// SPDX-License-Identifier: GPL-3.0-or-later
// What the performer wants to remember in this song.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 5
        spacing: 4

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap

            Caption {
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                text: panel.desk.texts.notesTitle
            }
            PushButton {
                readonly property bool isFolded: panel.desk.session.isStageFolded

                objectName: "foldStage"
                Layout.preferredHeight: 24
                padding: 3
                text: (isFolded ? "\u25b8 " : "\u25be ") + spokenName
                spokenName: panel.desk.hints.stage
                hint: panel.desk.hints.foldStage
                textSize: Theme.tinyText
                Accessible.checkable: true
                Accessible.checked: !isFolded
                onClicked: panel.desk.commands.toggleStage()
            }
        }

        Flickable {
            id: page

            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            ScrollBar.vertical: ScrollBar {
                policy: page.contentHeight > page.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
                Accessible.name: panel.desk.texts.notesTitle
            }

            TextArea.flickable: NotesArea {
                desk: panel.desk
                onTurned: page.contentY = 0
            }
        }
    }
}
