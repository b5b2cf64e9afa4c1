// SPDX-License-Identifier: GPL-3.0-or-later
// Which MIDI port the console listens to.
import QtQuick
import Vrel.Console

Text {
    id: port

    required property ConsoleModel desk

    readonly property string portName: desk.session.midiPortName

    objectName: "midiPort"
    text: "MIDI  " + (portName === "" ? "\u2014" : portName)
    color: portName === "" ? Theme.warning : Theme.quietInk
    font.pixelSize: Theme.smallText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
