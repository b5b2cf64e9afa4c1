// SPDX-License-Identifier: GPL-3.0-or-later
// How many keys the on-screen keyboard has, and which is its first.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: controls

    required property ConsoleModel desk

    readonly property int octave: Math.floor(desk.session.keyboardStartNote / 12) - 1

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
        OctaveButton {
            objectName: "octaveDown"
            text: "\u2212"
            spokenName: controls.desk.texts.startNote + " \u2212"
            hint: controls.desk.hints.startNote
            isOffered: controls.octave > 0
            onClicked: controls.desk.commands.stepStartOctave(-1)
        }
        Text {
            objectName: "startOctave"
            Layout.fillWidth: true
            text: controls.octave
            color: Theme.ink
            font.pixelSize: 14
            font.bold: true
            horizontalAlignment: Text.AlignHCenter
        }
        OctaveButton {
            objectName: "octaveUp"
            text: "+"
            spokenName: controls.desk.texts.startNote + " +"
            hint: controls.desk.hints.startNote
            isOffered: controls.octave < 8
            onClicked: controls.desk.commands.stepStartOctave(1)
        }
    }
}
