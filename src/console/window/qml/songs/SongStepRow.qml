// SPDX-License-Identifier: GPL-3.0-or-later
// What of the hardware steps to another song, and a button that waits for it.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: row

    required property ConsoleModel desk
    required property int kind // a LearnKind
    required property string title
    required property string source

    property alias button: learnButton

    readonly property bool isPending: desk.session.isLearning && desk.session.pendingLearnKind === kind

    Layout.fillWidth: true
    spacing: Theme.gap

    Column {
        Layout.fillWidth: true
        spacing: 2

        Text {
            width: parent.width
            text: row.title
            color: Theme.ink
            font.pixelSize: Theme.bodyText
            font.bold: true
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
        Text {
            width: parent.width
            text: row.source !== "" ? row.source : "\u2013"
            color: Theme.quietInk
            font.pixelSize: Theme.smallText
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
    }
    PushButton {
        id: learnButton

        objectName: row.objectName + "Button"
        text: row.isPending ? row.desk.session.learnLabel : row.desk.texts.midiLearn
        spokenName: text + " " + row.title + (row.source !== "" ? ", " + row.source : "")
        hint: row.desk.hints.learn
        fill: row.isPending ? Theme.learnable : Theme.raised
        onClicked: row.desk.commands.learnSongStep(row.kind)
    }
}
