// SPDX-License-Identifier: GPL-3.0-or-later
// Opens the effects of a strip or of the master, and says how many there are.
import QtQuick
import Vrel.Console

PushButton {
    id: button

    required property ConsoleModel desk
    required property string channelId
    required property int effectCount
    required property string title
    property string owner

    padding: 3
    textSize: Theme.smallText
    text: title + "  " + effectCount
    spokenName: desk.texts.effectsTitle + " " + owner + " " + effectCount
    fill: Theme.panel
    ink: effectCount > 0 ? Theme.ink : Theme.quietInk
    onClicked: desk.commands.toggleEffectRack(channelId)
}
