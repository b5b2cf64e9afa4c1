// SPDX-License-Identifier: GPL-3.0-or-later
// A control with named values: a list to choose from.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ComboBox {
    id: picker

    required property string spokenName
    required property list<string> words
    required property int echo // of the plug-in
    property string hint

    signal chosen(int choice)

    model: words
    currentIndex: echo
    font.pixelSize: Theme.bodyText

    Accessible.role: Accessible.ComboBox
    Accessible.name: spokenName
    Accessible.description: displayText
    Accessible.onPressAction: popup.open()

    // The plug-in decides: what is shown follows it again.
    onActivated: index => {
        picker.chosen(index);
        currentIndex = Qt.binding(() => picker.echo);
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
        elide: Text.ElideRight
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

        objectName: picker.objectName + index
        width: ListView.view ? ListView.view.width : picker.width
        height: Theme.touch
        text: modelData
        highlighted: picker.highlightedIndex === index
        Accessible.role: Accessible.ListItem
        Accessible.name: modelData
        Accessible.onPressAction: choice.clicked()

        background: Rectangle {
            color: choice.highlighted ? Theme.accent : Theme.raised
        }
        contentItem: Text {
            leftPadding: 4
            text: choice.text
            color: choice.highlighted ? Theme.darkInk : Theme.ink
            font: picker.font
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
    }

    Hint {
        over: picker
        text: picker.hint
    }
}
