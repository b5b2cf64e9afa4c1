// SPDX-License-Identifier: GPL-3.0-or-later
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ComboBox {
    id: picker

    required property ConsoleModel desk

    readonly property string hint: desk.hints.language
    readonly property list<string> names: ["English", "Español", "Français", "Italiano", "Deutsch"]

    objectName: "languagePicker"
    model: desk.texts.languageCodes
    currentIndex: desk.texts.language
    font.pixelSize: Theme.bodyText
    font.bold: true

    Accessible.role: Accessible.ComboBox
    Accessible.name: desk.texts.languageLabel
    Accessible.description: displayText + ". " + hint
    Accessible.onPressAction: popup.open()

    // The logic decides on the language: what is shown follows it again.
    onActivated: index => {
        picker.desk.commands.setLanguage(index);
        currentIndex = Qt.binding(() => picker.desk.texts.language);
    }

    Hint {
        over: picker
        text: picker.hint
    }

    background: Rectangle {
        color: Theme.raised
        radius: Theme.radius
        border.width: picker.visualFocus ? 3 : 1
        border.color: picker.visualFocus ? Theme.teal : Theme.line
    }
    contentItem: Text {
        leftPadding: 12
        text: picker.displayText
        color: Theme.ink
        font: picker.font
        verticalAlignment: Text.AlignVCenter
    }
    indicator: Text {
        x: picker.width - width - 10
        anchors.verticalCenter: parent.verticalCenter
        text: "\u25be"
        color: Theme.quietInk
        font.pixelSize: Theme.bodyText
    }
    delegate: ItemDelegate {
        id: choice

        required property int index
        required property string modelData

        readonly property string hint: picker.names[index] ?? ""

        objectName: "language" + index
        width: ListView.view ? ListView.view.width : picker.width
        height: Theme.touch
        text: modelData
        highlighted: picker.highlightedIndex === index
        Accessible.role: Accessible.ListItem
        Accessible.name: modelData
        Accessible.description: hint
        Accessible.onPressAction: choice.clicked()

        Hint {
            over: choice
            text: choice.hint
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
