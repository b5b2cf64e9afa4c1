// SPDX-License-Identifier: GPL-3.0-or-later
// Which MIDI port the console listens to, with a lamp that is lit while something arrives there. Bright when there is none: no note
// would come through.
import QtQuick
import Vrel.Console

Row {
    id: label

    required property ConsoleModel desk

    readonly property bool isLit: desk.performance.isMidiArriving
    readonly property string portName: desk.session.midiPortName
    readonly property color nameColor: desk.session.hasMidiPort ? Theme.ink : Theme.warning
    readonly property string hint: desk.session.hasMidiPort ? desk.hints.midiPort : desk.hints.noMidiPort

    objectName: "midiPort"
    spacing: 6
    Accessible.role: Accessible.StaticText
    Accessible.name: caption.text + " " + portName
    Accessible.description: hint

    Rectangle {
        id: lamp

        objectName: "midiLamp"
        anchors.verticalCenter: parent.verticalCenter
        width: 14
        height: 14
        radius: 7
        color: label.isLit ? Theme.ready : Theme.well
        border.width: 2
        border.color: label.isLit ? Theme.ready : Theme.line

        Accessible.role: Accessible.Indicator
        Accessible.name: label.desk.hints.midiArrives
        Accessible.checkable: true
        Accessible.checked: label.isLit
    }
    Text {
        id: caption

        anchors.verticalCenter: parent.verticalCenter
        text: "MIDI IN"
        color: Theme.faintInk
        font.pixelSize: Theme.tinyText
        Accessible.ignored: true
    }
    Text {
        anchors.verticalCenter: parent.verticalCenter
        width: label.width - caption.width - lamp.width - 2 * label.spacing
        text: label.portName
        color: label.nameColor
        font.pixelSize: Theme.smallText
        font.bold: true
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    Hint {
        over: label
        text: label.hint
    }
}
