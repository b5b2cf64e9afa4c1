// SPDX-License-Identifier: GPL-3.0-or-later
import QtQuick
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk

    width: Theme.strip

    FileDrop {
        anchors.fill: parent
        z: 1
        onFileDropped: file => place.desk.commands.dropBehindStrips(file)
    }

    PushButton {
        objectName: "addChannelButton"
        anchors.fill: parent
        anchors.rightMargin: Theme.gap
        text: place.desk.texts.addChannel
        hint: isOffered ? place.desk.hints.addChannel : place.desk.hints.notInLiveMode
        textSize: Theme.strongText
        fill: Theme.panel
        isOffered: place.desk.session.mayAddChannel
        onClicked: place.desk.commands.addChannel()
    }
}
