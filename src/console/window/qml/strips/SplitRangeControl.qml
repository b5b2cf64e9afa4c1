// SPDX-License-Identifier: GPL-3.0-or-later
// The lowest and the highest key that a strip plays.
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
        spacing: 2

        Text {
            Layout.fillWidth: true
            text: "Split"
            color: Theme.labelInk
            font.pixelSize: Theme.tinyText
            font.letterSpacing: -0.5
            Accessible.ignored: true
        }
        NumberBadge {
            objectName: "splitLow" + control.entry.index
            Layout.preferredWidth: 38
            spokenName: "Split " + control.desk.hints.lowestKey + " " + control.entry.number + " " + control.entry.name
            echo: control.entry.minNote
            minimumValue: 0
            maximumValue: 127
            valueText: control.entry.minNoteName
            hint: control.desk.hints.split
            onEntered: draft => control.desk.controls.enterMinNote(control.entry.channelId, draft)
            onStepped: by => control.desk.controls.setMinNote(control.entry.channelId, control.entry.minNote + by)
        }
        Text {
            text: "-"
            color: Theme.labelInk
            font.pixelSize: Theme.tinyText
            Accessible.ignored: true
        }
        NumberBadge {
            objectName: "splitHigh" + control.entry.index
            Layout.preferredWidth: 38
            spokenName: "Split " + control.desk.hints.highestKey + " " + control.entry.number + " " + control.entry.name
            echo: control.entry.maxNote
            minimumValue: 0
            maximumValue: 127
            valueText: control.entry.maxNoteName
            hint: control.desk.hints.split
            onEntered: draft => control.desk.controls.enterMaxNote(control.entry.channelId, draft)
            onStepped: by => control.desk.controls.setMaxNote(control.entry.channelId, control.entry.maxNote + by)
        }
    }
    ValueBar {
        objectName: "splitBar" + control.entry.index
        Layout.fillWidth: true
        lower: 0
        upper: 127
        values: [control.entry.minNote, control.entry.maxNote]
        isFilled: true
        color: control.entry.color
        hint: control.desk.hints.split
        onMoved: (marker, value) => {
            if (marker === 0)
                control.desk.controls.setMinNote(control.entry.channelId, value);
            else
                control.desk.controls.setMaxNote(control.entry.channelId, value);
        }
    }
}
