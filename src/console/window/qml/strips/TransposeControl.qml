// SPDX-License-Identifier: GPL-3.0-or-later
// How many semitones higher or lower a strip plays.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: control

    required property ConsoleModel desk
    required property StripViewModel entry

    spacing: 0

    RowLayout {
        Layout.fillWidth: true
        spacing: 4

        Text {
            Layout.fillWidth: true
            text: "Transpose"
            color: Theme.labelInk
            font.pixelSize: Theme.tinyText
            font.letterSpacing: -0.5
            Accessible.ignored: true
        }
        NumberBadge {
            objectName: "transpose" + control.entry.index
            Layout.preferredWidth: 40
            spokenName: "Transpose " + control.entry.number + " " + control.entry.name
            echo: control.entry.transpose
            minimumValue: -48
            maximumValue: 48
            valueText: control.entry.transposeText
            hint: control.desk.hints.transpose
            onEntered: draft => control.desk.controls.enterTranspose(control.entry.channelId, draft)
            onStepped: by => control.desk.controls.setTranspose(control.entry.channelId, control.entry.transpose + by)
        }
    }
    ValueBar {
        objectName: "transposeBar" + control.entry.index
        Layout.fillWidth: true
        lower: -48
        upper: 48
        values: [control.entry.transpose]
        color: control.entry.color
        hint: control.desk.hints.transpose
        onMoved: (marker, value) => control.desk.controls.setTranspose(control.entry.channelId, value)
    }
}
