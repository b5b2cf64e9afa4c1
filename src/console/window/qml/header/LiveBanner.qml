// SPDX-License-Identifier: GPL-3.0-or-later
// Says in Live mode that the keyboard is a remote control, and which key does what.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

Rectangle {
    id: banner

    required property ConsoleModel desk

    readonly property list<string> hints: [
        desk.texts.livePanicCommand,
        desk.texts.liveMuteChannelsCommand,
        desk.texts.liveSoloChannelCommand,
        desk.texts.liveMuteMasterCommand,
        desk.texts.liveSongNavigationCommand
    ]

    objectName: "liveBanner"
    visible: desk.session.isLive
    implicitHeight: 40
    radius: Theme.radius
    color: Theme.live

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 2 * Theme.gap
        anchors.rightMargin: 2 * Theme.gap
        spacing: 2 * Theme.gap

        Text {
            text: banner.desk.texts.liveModeTitle
            color: Theme.ink
            font.pixelSize: Theme.strongText
            font.bold: true
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Repeater {
            model: banner.hints

            Text {
                required property string modelData
                required property int index

                Layout.fillWidth: true
                Layout.preferredWidth: implicitWidth
                text: modelData
                color: index === 0 ? Theme.warning : Theme.ink
                font.pixelSize: index === 0 ? Theme.bodyText : Theme.smallText
                font.bold: true
                fontSizeMode: Text.HorizontalFit
                minimumPixelSize: 10
                elide: Text.ElideRight
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
