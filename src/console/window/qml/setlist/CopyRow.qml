// SPDX-License-Identifier: GPL-3.0-or-later
// One kept version of the setlist.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Field {
    id: row

    required property ConsoleModel desk
    required property int index
    required property copyEntry modelData
    property bool isOffered
    property bool isCurrent

    signal restored

    objectName: "copy" + index
    implicitHeight: Math.max(54, words.implicitHeight + 12)
    color: Theme.raised
    border.width: isCurrent ? 2 : 0
    border.color: Theme.teal

    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.date + ". " + modelData.detail

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 6
        spacing: Theme.gap

        Column {
            id: words

            Layout.fillWidth: true
            spacing: 2

            Text {
                width: parent.width
                text: row.modelData.date
                color: Theme.ink
                font.pixelSize: Theme.bodyText
                font.bold: true
                wrapMode: Text.Wrap
                textFormat: Text.PlainText
            }
            Text {
                width: parent.width
                text: row.modelData.detail
                color: row.modelData.isGood ? Theme.quietInk : Theme.warning
                font.pixelSize: Theme.smallText
                wrapMode: Text.Wrap
                maximumLineCount: 4
                elide: Text.ElideRight
                textFormat: Text.PlainText
            }
        }
        PushButton {
            objectName: "restore" + row.index
            Layout.preferredWidth: 150
            text: row.desk.texts.restoreCopy
            spokenName: text + " " + row.modelData.date
            hint: row.isOffered ? row.desk.hints.restoreCopy : row.modelData.isGood ? row.desk.hints.notInLiveMode : row.desk.hints.copyDamaged
            isOffered: row.isOffered
            onClicked: row.restored()
        }
    }
}
