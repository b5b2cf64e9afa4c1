// SPDX-License-Identifier: GPL-3.0-or-later
// In Live mode: the song on stage and the next one, to be read from where the performer is, and which key of the keyboard does
// what.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

Field {
    id: banner

    required property ConsoleModel desk

    readonly property list<string> keys: [
        desk.texts.livePanicCommand,
        desk.texts.liveMuteChannelsCommand,
        desk.texts.liveSoloChannelCommand,
        desk.texts.liveMuteMasterCommand,
        desk.texts.liveSongNavigationCommand
    ]

    objectName: "liveBanner"
    visible: desk.session.isLive
    implicitHeight: 62
    color: Theme.live

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.gap
        anchors.rightMargin: Theme.gap
        anchors.topMargin: 2
        anchors.bottomMargin: 2
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 2 * Theme.gap

            Text {
                text: banner.desk.texts.liveModeTitle
                color: Theme.ink
                font.pixelSize: Theme.smallText
                font.bold: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                objectName: "stageSong"
                Layout.fillWidth: true
                Layout.preferredWidth: 600
                text: banner.desk.session.stageSong
                color: Theme.ink
                font.pixelSize: Theme.stageText
                font.bold: true
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Text {
                objectName: "nextSong"
                Layout.fillWidth: true
                Layout.preferredWidth: 500
                visible: banner.desk.session.nextSong !== ""
                text: "\u25b8 " + banner.desk.session.nextSong
                color: Theme.faded(Theme.ink, 0.8)
                font.pixelSize: 28
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: 2 * Theme.gap

            Repeater {
                model: banner.keys

                Text {
                    required property string modelData
                    required property int index

                    Layout.fillWidth: true
                    text: modelData
                    color: index === 0 ? Theme.warning : Theme.ink
                    font.pixelSize: Theme.tinyText
                    font.bold: true
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
    }
}
