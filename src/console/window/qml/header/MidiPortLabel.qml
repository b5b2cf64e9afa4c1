// SPDX-License-Identifier: GPL-3.0-or-later
// Which MIDI port the console listens to. Bright when there is none: no note would come through.
import QtQuick
import Vrel.Console

Column {
    id: label

    required property ConsoleModel desk

    readonly property string portName: desk.session.midiPortName
    readonly property color nameColor: desk.session.hasMidiPort ? Theme.ink : Theme.warning

    objectName: "midiPort"
    Accessible.role: Accessible.StaticText
    Accessible.name: caption.text + " " + portName

    Text {
        id: caption

        width: label.width
        text: "MIDI IN"
        color: Theme.faintInk
        font.pixelSize: 11
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    Text {
        width: label.width
        text: label.portName
        color: label.nameColor
        font.pixelSize: Theme.smallText
        font.bold: true
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
