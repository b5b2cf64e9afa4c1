// SPDX-License-Identifier: GPL-3.0-or-later
import QtQuick
import Vrel.Console

Column {
    id: title

    required property ConsoleModel desk

    spacing: 1

    Text {
        width: title.width
        text: title.desk.texts.appTitle
        color: Theme.accent
        font.pixelSize: 28
        font.bold: true
        font.letterSpacing: 6
        elide: Text.ElideRight
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Text {
        width: title.width
        text: title.desk.texts.slogan
        color: Theme.quietInk
        font.pixelSize: 11
        font.letterSpacing: 1
        wrapMode: Text.WordWrap
        maximumLineCount: 2
        elide: Text.ElideRight
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
