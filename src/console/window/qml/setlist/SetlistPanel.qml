// SPDX-License-Identifier: GPL-3.0-or-later
// The songs of the show, in the order in which they are played.
pragma ComponentBehavior: Bound

import QtQuick
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
                text: panel.desk.texts.setlist
                wrapMode: Text.WordWrap
            }
            SwitchStatus {
                desk: panel.desk
            }
        }

        SongList {
            id: songs

            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: panel.desk
        }

        AddSongRow {
            Layout.fillWidth: true
            desk: panel.desk
            onAdded: songs.awaitsSong = true
            visible: panel.desk.session.mayTypeText // nothing can be typed then, and the room is for songs
        }
    }
}
