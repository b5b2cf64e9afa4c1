// SPDX-License-Identifier: GPL-3.0-or-later
// A control of a plug-in that is a button: a switch, a trigger, or a file to choose.
import QtQuick
import Vrel.Console

PushButton {
    id: button

    required property ConsoleModel desk
    required property int look
    required property bool isOn
    required property string file

    readonly property bool isFile: look === ControlRows.File
    readonly property bool isSwitch: look === ControlRows.Toggle

    signal flipped
    signal triggered
    signal chosen

    text: isFile ? (file === "" ? "\u2026" : file) : isSwitch ? (isOn ? "\u25cf" : "\u25cb") : "\u25b6"
    hint: isFile ? desk.hints.pluginFile : spokenName
    fill: isSwitch && isOn ? Theme.teal : Theme.raised
    Accessible.name: isFile && file !== "" ? spokenName + " " + file : spokenName
    Accessible.checkable: isSwitch
    Accessible.checked: isSwitch && isOn
    onClicked: isFile ? chosen() : isSwitch ? flipped() : triggered()
}
