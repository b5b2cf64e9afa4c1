// SPDX-License-Identifier: GPL-3.0-or-later
// A value between two small buttons that step it. How far a step goes, and where it ends, is the owner's business.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: control

    property string title
    required property string spokenName
    required property string valueText
    property string hint
    property bool canDecrement: true
    property bool canIncrement: true

    signal decremented
    signal incremented

    // Small to the eye, and large enough for a finger around it.
    component NudgeButton: PushButton {
        id: button

        implicitWidth: 26
        implicitHeight: 26
        padding: 0
        background: Item {
            Rectangle {
                anchors.centerIn: parent
                width: 17
                height: 17
                radius: 3
                color: button.down ? Qt.lighter(Theme.nudge, 1.35) : Theme.nudge
            }
            Rectangle {
                anchors.fill: parent
                visible: button.visualFocus
                color: "transparent"
                radius: 3
                border.width: 2
                border.color: Theme.teal
            }
        }
        contentItem: Text {
            text: button.text
            color: Theme.ink
            font.pixelSize: 16
            font.bold: true
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
    }

    spacing: 2

    Text {
        visible: text !== ""
        text: control.title
        color: Theme.labelInk
        font.pixelSize: Theme.tinyText
        font.bold: true
    }
    NudgeButton {
        objectName: control.objectName + "Down"
        text: "\u2212"
        spokenName: control.spokenName + " \u2212"
        hint: control.hint
        isOffered: control.canDecrement
        onClicked: control.decremented()
    }
    Text {
        objectName: control.objectName + "Value"
        Layout.fillWidth: true
        text: control.valueText
        color: Theme.ink
        font.pixelSize: Theme.smallText
        font.bold: true
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: control.spokenName + " " + text
    }
    NudgeButton {
        objectName: control.objectName + "Up"
        text: "+"
        spokenName: control.spokenName + " +"
        hint: control.hint
        isOffered: control.canIncrement
        onClicked: control.incremented()
    }
}
