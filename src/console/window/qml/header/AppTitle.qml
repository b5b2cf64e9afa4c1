// SPDX-License-Identifier: GPL-3.0-or-later
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: title

    required property ConsoleModel desk
    property bool hasRoomForSlogan: true

    spacing: Theme.gap

    Text {
        text: title.desk.texts.appTitle
        color: Theme.accent
        font.pixelSize: 28
        font.bold: true
        font.letterSpacing: 4
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Text {
        visible: title.hasRoomForSlogan
        Layout.preferredWidth: 170
        text: title.desk.texts.slogan
        color: Theme.quietInk
        font.pixelSize: Theme.tinyText
        wrapMode: Text.WordWrap
        maximumLineCount: 2
        elide: Text.ElideRight
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
