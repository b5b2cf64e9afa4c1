// SPDX-License-Identifier: GPL-3.0-or-later
// One learned control.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Field {
    id: row

    required property ConsoleModel desk
    required property int index
    required property learnedEntry modelData
    property bool isOffered
    property bool isCurrent

    signal removed

    objectName: "learned" + index
    implicitHeight: Math.max(54, words.implicitHeight + 12)
    color: Theme.raised
    border.width: isCurrent ? 2 : 0
    border.color: Theme.teal

    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.control + ", " + modelData.source + ", " + modelData.place

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 12
        spacing: Theme.gap

        Column {
            id: words

            Layout.fillWidth: true
            spacing: 2

            Text {
                width: parent.width
                text: row.modelData.control
                color: Theme.ink
                font.pixelSize: Theme.bodyText
                font.bold: true
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: row.modelData.source + "  \u00b7  " + row.modelData.place
                color: Theme.quietInk
                font.pixelSize: Theme.smallText
                wrapMode: Text.Wrap
            }
        }
        PushButton {
            objectName: "forgetLearned" + row.index
            text: "\u2715"
            spokenName: row.desk.texts.forgetLearned + " " + row.Accessible.name
            hint: row.isOffered ? row.desk.texts.forgetLearned : row.desk.texts.notInLiveMode
            isOffered: row.isOffered
            onClicked: row.removed()
        }
    }
}
