// SPDX-License-Identifier: GPL-3.0-or-later
// Lights up when blocks were late or silent, with their number, and stays lit until it is pressed.
import QtQuick
import Vrel.Console

PushButton {
    id: lamp

    required property ConsoleModel desk

    property int seen: 0
    readonly property int count: desk.session.dropouts - seen

    objectName: "dropoutLamp"
    visible: count > 0
    text: desk.texts.dropouts + "\n" + count
    spokenName: desk.texts.dropouts + " " + count
    hint: desk.hints.dropouts
    textSize: Theme.smallText
    fill: Theme.warning
    onClicked: seen = desk.session.dropouts
}
