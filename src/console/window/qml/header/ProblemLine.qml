// SPDX-License-Identifier: GPL-3.0-or-later
// The last trouble the program told, so that it is not lost in a log that nobody on stage reads.
import QtQuick
import Vrel.Console

Rectangle {
    id: line

    required property ConsoleModel desk

    readonly property string words: desk.session.problems

    objectName: "problems"
    visible: words !== ""
    implicitHeight: 34
    radius: Theme.radius
    color: Theme.panel
    border.width: 1
    border.color: Theme.warning

    Accessible.role: Accessible.AlertMessage
    Accessible.name: words

    Text {
        anchors.fill: parent
        anchors.leftMargin: 2 * Theme.gap
        anchors.rightMargin: 2 * Theme.gap
        text: line.words
        color: Theme.warning
        font.pixelSize: Theme.bodyText
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
}
