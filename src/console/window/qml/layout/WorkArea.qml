// SPDX-License-Identifier: GPL-3.0-or-later
// The keyboard above the strips that it plays.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: area

    required property ConsoleModel desk

    spacing: 4

    KeyboardArea {
        Layout.fillWidth: true
        desk: area.desk
    }
    StripsPanel {
        Layout.fillWidth: true
        Layout.fillHeight: true
        desk: area.desk
    }
}
