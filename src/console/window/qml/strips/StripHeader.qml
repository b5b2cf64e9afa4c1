// SPDX-License-Identifier: GPL-3.0-or-later
// The strip's number on its colour, by which it is dragged and which a press changes, and its name.
import QtQuick
import Vrel.Console

Item {
    id: header

    required property ConsoleModel desk
    required property StripViewModel entry

    signal menuWanted
    signal colorWanted
    signal dragBegan
    signal dragMoved(real x) // in the window
    signal dragEnded

    implicitHeight: Theme.isLive ? 44 : 34

    ColorSquare {
        id: square

        objectName: "stripNumber" + header.entry.index
        width: Theme.isLive ? 30 : 26
        height: parent.height
        text: header.entry.number
        spokenName: header.desk.hints.stripColor + " " + header.entry.number + " " + header.entry.name
        hint: header.desk.hints.stripColor
        color: header.entry.color
        onActed: header.colorWanted()

        StripDragArea {
            property bool wasDragged

            anchors.fill: parent
            desk: header.desk
            isHandle: true
            cursorShape: header.desk.session.mayMoveChannels ? Qt.OpenHandCursor : Qt.ArrowCursor
            onPressed: wasDragged = false
            onDragBegan: {
                wasDragged = true;
                header.dragBegan();
            }
            onDragMoved: x => header.dragMoved(x)
            onDragEnded: header.dragEnded()
            onMenuWanted: {
                wasDragged = true;
                header.menuWanted();
            }
            onClicked: mouse => {
                if (mouse.button === Qt.LeftButton && !wasDragged)
                    header.colorWanted();
            }
        }
    }

    EntryField {
        id: name

        objectName: "stripName" + header.entry.index
        x: square.width + 3
        width: parent.width - x
        height: parent.height
        spokenName: header.entry.number + " " + header.entry.name
        hint: readOnly ? header.desk.hints.notInLiveMode : header.desk.hints.stripName
        echo: header.entry.name
        readOnly: !header.desk.session.mayTypeText
        color: activeFocus ? Theme.ink : "transparent"
        font.pixelSize: Theme.smallText
        leftPadding: 3
        rightPadding: 2
        topPadding: 0
        bottomPadding: 0
        onTyped: text => header.desk.commands.setChannelName(header.entry.channelId, text)
        onPressed: event => {
            header.desk.commands.selectStrip(header.entry.channelId);
            if (event.button === Qt.RightButton)
                header.menuWanted();
        }
        onAccepted: header.forceActiveFocus(Qt.OtherFocusReason)
    }

    // Shown in the field while it is not edited: a single line would cut a long name off.
    Text {
        objectName: "stripNameShown" + header.entry.index
        anchors.fill: name
        anchors.leftMargin: 4
        anchors.rightMargin: 2
        visible: !name.activeFocus
        text: name.text
        color: Theme.ink
        font.pixelSize: Theme.smallText
        font.bold: true
        font.letterSpacing: -0.6
        lineHeight: 0.9
        wrapMode: Text.WordWrap
        fontSizeMode: Text.Fit
        minimumPixelSize: Theme.tinyText
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
}
