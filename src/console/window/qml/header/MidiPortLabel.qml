// SPDX-License-Identifier: GPL-3.0-or-later
// Which MIDI port the console listens to. Bright when there is none: no note would come through.
import QtQuick
import Vrel.Console

Row {
    id: label

    required property ConsoleModel desk

    readonly property string portName: desk.session.midiPortName
    readonly property color nameColor: desk.session.hasMidiPort ? Theme.ink : Theme.warning

    objectName: "midiPort"
    spacing: 6
    Accessible.role: Accessible.StaticText
    Accessible.name: caption.text + " " + portName

    Text {
        id: caption

        text: "MIDI IN"
        color: Theme.faintInk
        font.pixelSize: Theme.tinyText
        Accessible.ignored: true
    }
    Text {
        width: label.width - caption.width - label.spacing
        text: label.portName
        color: label.nameColor
        font.pixelSize: Theme.smallText
        font.bold: true
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
