// SPDX-License-Identifier: GPL-3.0-or-later
// The last problem of the log, which no performer reads on stage. A press dismisses it, and its room goes back to the strips.
import QtQuick
import Vrel.Console

PushButton {
    id: line

    required property ConsoleModel desk

    readonly property int number: desk.session.problemCount
    property int seen: 0

    objectName: "problems"
    visible: number > seen && desk.session.problem !== ""
    implicitHeight: 28
    padding: 2
    text: desk.session.problem
    hint: desk.hints.dismissProblem
    fill: Theme.panel
    edge: Theme.warning
    onClicked: seen = number

    Accessible.role: Accessible.AlertMessage

    contentItem: Item {
        Text {
            anchors.fill: parent
            anchors.leftMargin: Theme.gap
            anchors.rightMargin: 2 * Theme.touch + (newestCopy.visible ? newestCopy.width : 0)
            text: line.text
            color: Theme.warning
            font.pixelSize: Theme.smallText
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
        Text {
            anchors.right: parent.right
            anchors.rightMargin: Theme.gap
            anchors.verticalCenter: parent.verticalCenter
            text: "\u00d7"
            color: Theme.warning
            font.pixelSize: 20
            font.bold: true
        }
    }

    NewestCopyButton {
        id: newestCopy
        anchors.right: parent.right
        anchors.rightMargin: Theme.touch
        height: parent.height
        desk: line.desk
    }
}
