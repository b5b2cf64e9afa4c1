// SPDX-License-Identifier: GPL-3.0-or-later
// A song of the check's page, or a finding below it.
import QtQuick
import Vrel.Console

Field {
    id: row

    required property int index
    required property checkEntry modelData
    property bool isCurrent

    objectName: "checked" + index
    implicitHeight: words.implicitHeight + 12
    color: modelData.isSong ? Theme.raised : Theme.well
    border.width: isCurrent ? 2 : 0
    border.color: Theme.teal

    Accessible.role: Accessible.ListItem
    Accessible.name: (modelData.severity !== "" ? modelData.severity + ". " : "") + modelData.title + ". " + modelData.detail

    // How severe a finding is, also without its colour.
    Rectangle {
        visible: !row.modelData.isSong
        x: 12
        y: 7
        width: 20
        height: 20
        radius: row.modelData.isError ? 3 : 10
        color: row.modelData.isError ? Theme.panic : Theme.warning

        Text {
            anchors.centerIn: parent
            text: row.modelData.isError ? "\u2715" : "!"
            color: row.modelData.isError ? Theme.ink : Theme.darkInk
            font.pixelSize: Theme.smallText
            font.bold: true
            Accessible.ignored: true
        }
    }

    Column {
        id: words

        x: row.modelData.isSong ? 12 : 44
        y: 6
        width: parent.width - x - 12
        spacing: 2

        Text {
            width: parent.width
            text: row.modelData.title
            color: Theme.ink
            font.pixelSize: row.modelData.isSong ? Theme.strongText : Theme.bodyText
            font.bold: row.modelData.isSong
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
        Text {
            width: parent.width
            text: row.modelData.detail
            color: Theme.quietInk
            font.pixelSize: Theme.smallText
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
        }
    }
}
