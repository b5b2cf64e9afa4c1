// SPDX-License-Identifier: GPL-3.0-or-later
// A song of the check's page, or a finding below it.
import QtQuick
import Vrel.Console

Rectangle {
    id: row

    required property int index
    required property checkEntry modelData
    property bool isCurrent

    objectName: "checked" + index
    implicitHeight: words.implicitHeight + 12
    radius: Theme.radius
    color: modelData.isSong ? Theme.raised : Theme.well
    border.width: isCurrent ? 2 : 0
    border.color: Theme.teal

    Accessible.role: Accessible.ListItem
    Accessible.name: modelData.title + ". " + modelData.detail

    // How severe a finding is.
    Rectangle {
        visible: !row.modelData.isSong
        x: 14
        y: 8
        width: 6
        height: parent.height - 16
        radius: 3
        color: row.modelData.isError ? Theme.panic : Theme.warning
    }

    Column {
        id: words

        x: row.modelData.isSong ? 12 : 30
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
