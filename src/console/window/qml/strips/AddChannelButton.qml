// SPDX-License-Identifier: GPL-3.0-or-later
// Behind the last strip: adds one, and takes files on all the space that is left of the row.
import QtQuick
import Vrel.Console

Item {
    id: place

    required property ConsoleModel desk
    property real room // to the right end of what is seen of the row

    width: Math.max(Theme.strip, room)

    FileDrop {
        anchors.fill: parent
        z: 1
        onFileDropped: file => place.desk.commands.dropBehindStrips(file)
    }

    PushButton {
        objectName: "addChannelButton"
        width: Theme.strip - Theme.gap
        height: parent.height
        text: place.desk.texts.addChannel
        hint: isOffered ? place.desk.hints.addChannel : place.desk.hints.notInLiveMode
        textSize: Theme.strongText
        fill: Theme.panel
        isOffered: place.desk.session.mayAddChannel
        onClicked: place.desk.commands.addChannel()
    }
}
