// SPDX-License-Identifier: GPL-3.0-or-later
// Below an effect that is not in the sound: why, and the button that loads it again.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: line

    required property ConsoleModel desk
    required property int index
    required property rackSlot effect

    readonly property string reason: effect.isInstalled ? desk.hints.effectFailed : desk.hints.effectNotInstalled

    spacing: 4

    Text {
        objectName: "effectFailure" + line.index
        Layout.fillWidth: true
        text: line.reason
        color: Theme.warning
        font.pixelSize: Theme.tinyText
        font.bold: true
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: line.effect.name + ": " + text
    }
    PushButton {
        objectName: "reviveEffect" + line.index
        Layout.preferredWidth: 110
        Layout.fillHeight: true
        padding: 2
        text: line.desk.texts.revive
        spokenName: text + " " + line.effect.name
        hint: !line.effect.isInstalled ? line.reason : line.effect.isRevived ? line.desk.hints.effectLoading : line.desk.hints.reviveEffect
        textSize: Theme.smallText
        fill: Theme.accent
        isOffered: line.effect.isInstalled && !line.effect.isRevived
        onClicked: line.desk.commands.reviveEffect(line.effect.slotId)
    }
}
