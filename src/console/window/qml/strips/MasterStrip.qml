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

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 7
        spacing: 6

        Rectangle {
            id: head

            Layout.fillWidth: true
            implicitHeight: 2 * Theme.touch + 4
            radius: 4
            color: strip.desk.master.color

            Column {
                anchors.centerIn: parent
                spacing: 4

                Text {
                    width: head.width - 6
                    horizontalAlignment: Text.AlignHCenter
                    fontSizeMode: Text.HorizontalFit
                    text: "MASTER"
                    color: Theme.inkOn(head.color)
                    font.pixelSize: 19
                    font.bold: true
                }
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: "OUTPUT"
                    color: Theme.inkOn(head.color)
                    font.pixelSize: Theme.smallText
                    font.bold: true
                }
            }
        }

        LevelColumn {
            Layout.fillWidth: true
            Layout.fillHeight: true
            desk: strip.desk
            faderName: "masterFader"
            spokenName: strip.desk.texts.volume + " MASTER"
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
            Layout.preferredHeight: 2 * Theme.touch + 6
            desk: strip.desk
            text: strip.desk.texts.mute
            spokenName: text + " MASTER"
            isOn: strip.desk.master.mute
            lamp: Theme.muteLit
            learnKind: LearnKind.MasterMute
            onActed: strip.desk.commands.toggleMasterMute()
        }
    }
}
