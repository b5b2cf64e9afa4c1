// SPDX-License-Identifier: GPL-3.0-or-later
// How many keys the on-screen keyboard has, and which is its first.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: controls

    required property ConsoleModel desk

    readonly property int start: desk.session.keyboardStartNote

    spacing: 2

    RowLayout {
        Layout.fillWidth: true

        Caption {
            Layout.fillWidth: true
            text: controls.desk.texts.keyCount
            font.pixelSize: Theme.tinyText
            font.letterSpacing: 0
        }
        Caption {
            objectName: "keyCount"
            text: controls.desk.session.keyboardKeyCount
            color: Theme.ink
            font.pixelSize: Theme.tinyText
        }
    }

    KeyCountSlider {
        Layout.preferredWidth: 80
        Layout.preferredHeight: 24
        desk: controls.desk
    }

    Caption {
        Layout.fillWidth: true
        text: controls.desk.texts.startNote
        font.pixelSize: Theme.tinyText
        font.letterSpacing: 0
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 2

        PitchPicker {
            Layout.preferredWidth: 46
            Layout.preferredHeight: 26
            desk: controls.desk
        }
        NudgeControl {
            objectName: "octave"
            Layout.fillWidth: true
            spokenName: controls.desk.texts.startNote
            valueText: Laws.octaveOf(controls.start)
            hint: controls.desk.hints.octave
            canDecrement: Laws.canNudgeStartNote(controls.start, -1)
            canIncrement: Laws.canNudgeStartNote(controls.start, 1)
            onDecremented: controls.desk.commands.stepStartOctave(-1)
            onIncremented: controls.desk.commands.stepStartOctave(1)
        }
    }
}
