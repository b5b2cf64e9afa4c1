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
        anchors.margins: Theme.gap
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap

            Caption {
                Layout.fillWidth: true
                text: panel.desk.texts.setlist
                font.pixelSize: Theme.bodyText
            }
            SwitchStatus {
                desk: panel.desk
            }
        }

        SongList {
            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: panel.desk
        }

        AddSongRow {
            Layout.fillWidth: true
            desk: panel.desk
            visible: panel.desk.session.mayTypeText // nothing can be typed then, and every song that is seen counts
        }
    }
}
