// SPDX-License-Identifier: GPL-3.0-or-later
// The pitch name of the first key.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ComboBox {
    id: picker

    required property ConsoleModel desk

    objectName: "pitchPicker"
    model: ["C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"]
    currentIndex: desk.session.keyboardStartNote % 12
    font.pixelSize: 14
    font.bold: true

    Accessible.role: Accessible.ComboBox
    Accessible.name: desk.texts.startNote
    Accessible.description: displayText
    Accessible.onPressAction: popup.open()

    onActivated: index => {
        picker.desk.commands.setStartPitchClass(index);
        currentIndex = Qt.binding(() => picker.desk.session.keyboardStartNote % 12);
    }

    Hint {
        over: picker
        text: picker.desk.hints.startNote
    }

    background: Rectangle {
        color: Theme.raised
        radius: Theme.radius
        border.width: picker.visualFocus ? 3 : 1
        border.color: picker.visualFocus ? Theme.teal : Theme.line
    }
    contentItem: Text {
        leftPadding: 6
        text: picker.displayText
        color: Theme.ink
        font: picker.font
        verticalAlignment: Text.AlignVCenter
    }
    indicator: Text {
        x: picker.width - width - 4
        anchors.verticalCenter: parent.verticalCenter
        text: "\u25be"
        color: Theme.quietInk
        font.pixelSize: 13
    }
    popup.width: 72
    delegate: ItemDelegate {
        id: choice

        required property int index
        required property string modelData

        objectName: "pitch" + index
        width: ListView.view ? ListView.view.width : picker.width
        height: 36
        text: modelData
        highlighted: picker.highlightedIndex === index
        Accessible.role: Accessible.ListItem
        Accessible.name: modelData
        Accessible.description: picker.desk.hints.startNote
        Accessible.onPressAction: choice.clicked()

        Hint {
            over: choice
            text: picker.desk.hints.startNote
        }

        background: Rectangle {
            color: choice.highlighted ? Theme.accent : Theme.raised
        }
        contentItem: Text {
            leftPadding: 4
            text: choice.text
            color: choice.highlighted ? Theme.darkInk : Theme.ink
            font: picker.font
            verticalAlignment: Text.AlignVCenter
        }
    }
}
