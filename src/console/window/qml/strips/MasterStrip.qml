// SPDX-License-Identifier: GPL-3.0-or-later
// The sum of all channels on its way out.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Rectangle {
    id: strip

    required property ConsoleModel desk

    objectName: "masterStrip"
    radius: Theme.radius
    color: Theme.background
    border.width: 2
    border.color: desk.master.color

    Accessible.role: Accessible.Grouping
    Accessible.name: "MASTER OUTPUT"

    ColorPanel {
        id: colors

        desk: strip.desk
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 5
        spacing: 4

        ColorSquare {
            objectName: "masterColor"
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.isLive ? 48 : 44
            enabled: strip.desk.session.mayChooseMasterColor
            text: "MASTER\nOUTPUT"
            textSize: Theme.smallText
            spokenName: strip.desk.hints.masterColor
            hint: enabled ? strip.desk.hints.masterColor : strip.desk.hints.notInLiveMode
            color: strip.desk.master.color
            onActed: colors.openFor(this, null)
        }

        RackButton {
            objectName: "masterRack"
            Layout.fillWidth: true
            Layout.preferredHeight: 44
            desk: strip.desk
            channelId: strip.desk.master.channelId
            effectCount: strip.desk.master.effectCount
            hasFailure: strip.desk.master.hasFailedEffect
            title: "MASTER FX"
            owner: "MASTER"
        }

        LevelColumn {
            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: strip.desk
            faderName: "masterFader"
            spokenName: strip.desk.texts.volume + " " + stripName
            stripName: "MASTER"
            channelId: ""
            value: strip.desk.master.volume
            valueText: strip.desk.master.volumeText
            color: Theme.accent
            learnKind: LearnKind.MasterVolume
            onMoved: level => strip.desk.commands.setMasterVolume(level)
        }

        LampButton {
            objectName: "masterMute"
            Layout.fillWidth: true
            Layout.preferredHeight: 2 * Theme.row + 4
            desk: strip.desk
            text: strip.desk.texts.mute
            spokenName: text + " MASTER"
            hint: strip.desk.hints.masterMute
            isOn: strip.desk.master.mute
            lamp: Theme.muteLit
            learnKind: LearnKind.MasterMute
            onActed: strip.desk.commands.toggleMasterMute()
        }
    }
}
