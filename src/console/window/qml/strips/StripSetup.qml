// SPDX-License-Identifier: GPL-3.0-or-later
// Which notes and messages reach the strip's instrument, and how.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: setup

    required property ConsoleModel desk
    required property StripViewModel entry

    spacing: 2

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.divider
    }
    TransposeControl {
        Layout.fillWidth: true
        desk: setup.desk
        entry: setup.entry
    }
    SplitRangeControl {
        Layout.fillWidth: true
        desk: setup.desk
        entry: setup.entry
    }
    SendToggles {
        Layout.fillWidth: true
        desk: setup.desk
        entry: setup.entry
    }
}
