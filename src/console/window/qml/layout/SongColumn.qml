// SPDX-License-Identifier: GPL-3.0-or-later
// What belongs to the song on stage: the setlist that it is from, its tempo and its notes.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: column

    required property ConsoleModel desk

    spacing: 4

    // The songs and the notes share what the tempo leaves.
    SetlistPanel {
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.preferredHeight: 340
        desk: column.desk
    }
    TempoPanel {
        Layout.fillWidth: true
        desk: column.desk
    }
    StagePanel {
        Layout.fillWidth: true
        desk: column.desk
    }
    NotesPanel {
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.preferredHeight: 160
        desk: column.desk
    }
}
