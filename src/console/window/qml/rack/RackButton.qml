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
    required property bool hasFailure // one of them is not in the sound
    property string owner

    padding: 3
    leftPadding: 24
    textSize: Theme.smallText
    text: title + "  " + effectCount + (hasFailure ? "  !" : "")
    spokenName: desk.texts.effectsTitle + " " + owner + " " + effectCount
    hint: hasFailure ? desk.hints.rackHasFailure : desk.hints.rack
    fill: hasFailure ? Theme.instrumentFailed : Theme.panel
    ink: effectCount > 0 ? Theme.ink : Theme.quietInk
    edge: hasFailure ? Theme.panic : Theme.line
    onClicked: desk.commands.toggleEffectRack(channelId)

    MenuIcon {
        x: 5
        anchors.verticalCenter: parent.verticalCenter
        symbol: "plug"
        color: button.ink
    }
}
