// SPDX-License-Identifier: GPL-3.0-or-later
// Room for the keys with the bars of the splits above them, and beside them for what sets the keyboard up and for what the performer's
// other hand and feet do. One press folds it to the bars.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: area

    required property ConsoleModel desk

    readonly property bool isFolded: desk.session.isKeyboardFolded
    readonly property real bandHeight: Laws.splitBandHeight(desk.strips.count)
    readonly property real keysHeight: isFolded ? 0 : 85

    objectName: "keyboardArea"
    implicitHeight: Math.max(24, bandHeight + keysHeight) + 8

    RowLayout {
        anchors.fill: parent
        anchors.margins: 4
        spacing: 6

        PushButton {
            objectName: "foldKeyboard"
            Layout.preferredWidth: 26
            Layout.fillHeight: true
            text: area.isFolded ? "\u25b8" : "\u25be"
            spokenName: area.desk.texts.keyboard
            hint: area.desk.hints.foldKeyboard
            Accessible.checkable: true
            Accessible.checked: !area.isFolded
            onClicked: area.desk.commands.toggleKeyboard()
        }

        // Number of keys and first note.
        KeyboardControls {
            Layout.preferredWidth: 118
            Layout.fillWidth: false
            Layout.alignment: Qt.AlignBottom
            visible: !area.isFolded
            desk: area.desk
        }

        // The bars, and the keys while they are not folded. More bars than fit scroll.
        PianoKeyboard {
            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: area.desk
            isFolded: area.isFolded
        }

        // Pitch bend, modulation, sustain and expression.
        KeyboardPerformanceControls {
            Layout.preferredWidth: 170
            Layout.alignment: Qt.AlignBottom
            visible: !area.isFolded
            desk: area.desk
        }
    }
}
