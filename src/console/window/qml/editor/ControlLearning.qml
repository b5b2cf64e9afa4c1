// SPDX-License-Identifier: GPL-3.0-or-later
// Lies over a control of a plug-in while learn mode is on: a press lets the control wait for its hardware.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

AbstractButton {
    id: target

    property bool isPending
    required property string spokenName
    property string hint

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.description: hint
    Accessible.onPressAction: target.clicked()

    background: Rectangle {
        visible: target.visualFocus
        color: "transparent"
        radius: Theme.radius
        border.width: 3
        border.color: Theme.teal
    }

    MidiLearnableModifier {
        anchors.fill: parent
        anchors.margins: -inset
        isEnabled: target.visible
        isPending: target.isPending
    }

    Hint {
        over: target
        text: target.hint
    }
}
