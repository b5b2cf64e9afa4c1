// SPDX-License-Identifier: GPL-3.0-or-later
// Which messages a strip's instrument gets.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk
    required property StripViewModel entry

    readonly property string strip: " " + entry.number + " " + entry.name

    spacing: 0

    SendToggle {
        objectName: "sendSustain" + row.entry.index
        Layout.fillWidth: true
        Layout.preferredWidth: 40
        label: "Sus"
        spokenName: "Sustain" + row.strip
        hint: row.desk.hints.sendSustain
        isOn: row.entry.sendSustain
        accent: row.entry.color
        onClicked: row.desk.controls.toggleSendSustain(row.entry.channelId)
    }
    SendToggle {
        objectName: "sendExpression" + row.entry.index
        Layout.fillWidth: true
        Layout.preferredWidth: 40
        label: "Exp"
        spokenName: "Expression" + row.strip
        hint: row.desk.hints.sendExpression
        isOn: row.entry.sendExpression
        accent: row.entry.color
        onClicked: row.desk.controls.toggleSendExpression(row.entry.channelId)
    }
    SendToggle {
        objectName: "sustainRotor" + row.entry.index
        Layout.fillWidth: true
        Layout.preferredWidth: 40
        label: "Rot"
        spokenName: "Rotor" + row.strip
        hint: row.desk.hints.sustainControlsRotor
        isOn: row.entry.sustainControlsRotor
        accent: row.entry.color
        onClicked: row.desk.controls.toggleSustainControlsRotor(row.entry.channelId)
    }
}
