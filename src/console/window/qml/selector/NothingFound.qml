// SPDX-License-Identifier: GPL-3.0-or-later
// In place of a list with nothing in it. What is not found yet is not missing.
import QtQuick
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk
    required property string title
    readonly property bool isLooking: desk.session.isLookingForPlugins

    Column {
        anchors.centerIn: parent
        width: parent.width - 32
        spacing: Theme.gap

        Text {
            objectName: "nothingFound"
            width: parent.width
            text: place.isLooking ? place.desk.texts.loadingAudioUnits : place.title
            color: Theme.ink
            font.pixelSize: Theme.strongText
            font.bold: true
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Text {
            width: parent.width
            visible: !place.isLooking
            text: place.desk.texts.tryDifferentSearch
            color: Theme.quietInk
            font.pixelSize: Theme.bodyText
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }
}
