// SPDX-License-Identifier: GPL-3.0-or-later
// What the performer wants to remember in this song.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    implicitHeight: 130

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: 6

        Caption {
            Layout.fillWidth: true
            text: panel.desk.texts.notesTitle
        }

        ScrollView {
            id: scroll

            contentWidth: availableWidth
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true

            TextArea {
                id: area

                readonly property string echo: panel.desk.session.songNotes
                readonly property int song: panel.desk.session.selectedSongIndex
                property bool isEditing
                property bool isFollowing

                function follow(): void {
                    isEditing = false;
                    if (text === echo)
                        return;
                    isFollowing = true;
                    text = echo;
                    isFollowing = false;
                }

                objectName: "notesArea"
                text: ""
                readOnly: panel.desk.session.isLive
                color: Theme.ink
                selectionColor: Theme.teal
                selectedTextColor: Theme.darkInk
                font.pixelSize: Theme.strongText
                wrapMode: TextEdit.Wrap
                selectByMouse: true
                Accessible.role: Accessible.EditableText
                Accessible.name: panel.desk.texts.notesTitle

                Component.onCompleted: follow()
                onEchoChanged: if (!isEditing) follow()
                onSongChanged: follow()
                onActiveFocusChanged: if (!activeFocus) settle.restart()
                onTextChanged: {
                    if (isFollowing || !activeFocus)
                        return;
                    isEditing = true;
                    panel.desk.commands.setSongNotes(text);
                }

                background: Rectangle {
                    color: Theme.well
                    radius: Theme.radius
                    border.width: area.activeFocus ? 2 : 1
                    border.color: area.activeFocus ? Theme.teal : Theme.line
                }

                Timer {
                    id: settle

                    interval: 300
                    onTriggered: if (!area.activeFocus) area.follow()
                }
            }
        }
    }
}
