// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a strip's instrument gets a kind of messages: a small box with a check mark, and a word.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

AbstractButton {
    id: toggle

    required property string label
    required property string spokenName
    property bool isOn
    property color accent: Theme.teal
    property string hint

    implicitHeight: Theme.row
    hoverEnabled: true

    Accessible.role: Accessible.CheckBox
    Accessible.name: spokenName
    Accessible.description: hint
    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onPressAction: toggle.clicked()
    Accessible.onToggleAction: toggle.clicked()

    background: Rectangle {
        color: toggle.down ? Theme.raised : "transparent"
        radius: 3
        border.width: toggle.visualFocus ? 2 : 0
        border.color: Theme.teal
    }

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: 11
        height: 11
        radius: 2
        color: toggle.isOn ? toggle.accent : "transparent"
        border.width: 1
        border.color: toggle.isOn ? toggle.accent : Theme.labelInk

        Text {
            anchors.centerIn: parent
            visible: toggle.isOn
            text: "\u2713"
            color: Theme.inkOn(toggle.accent)
            font.pixelSize: Theme.tinyText
            font.bold: true
            Accessible.ignored: true
        }
    }
    Text {
        x: 13
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - x
        text: toggle.label
        color: toggle.isOn ? Theme.ink : Theme.labelInk
        font.pixelSize: Theme.tinyText
        font.letterSpacing: -0.6
        Accessible.ignored: true
    }

    Hint {
        over: toggle
        text: toggle.hint
    }
}
