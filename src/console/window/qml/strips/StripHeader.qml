// SPDX-License-Identifier: GPL-3.0-or-later
// The strip's number on its colour, by which it is dragged, and its name.
import QtQuick
import Vrel.Console

Item {
    id: header

    required property ConsoleModel desk
    required property MirrorItem entry

    signal menuWanted
    signal dragBegan
    signal dragMoved(real x) // in the window
    signal dragEnded

    implicitHeight: 2 * Theme.touch + 4

    Rectangle {
        id: square

        objectName: "stripNumber" + header.entry.index
        width: parent.width
        height: Theme.touch
        radius: 4
        color: header.entry.color

        Text {
            anchors.centerIn: parent
            text: header.entry.number
            color: Theme.inkOn(square.color)
            font.pixelSize: 26
            font.bold: true
        }

        MouseArea {
            id: hold

            property real pressedAt
            property bool isDragging

            function letGo(): void {
                if (isDragging)
                    header.dragEnded();
                isDragging = false;
            }

            anchors.fill: parent
            acceptedButtons: Qt.LeftButton | Qt.RightButton
            preventStealing: true
            cursorShape: header.desk.session.mayMoveChannels ? Qt.OpenHandCursor : Qt.ArrowCursor
            onPressed: mouse => {
                forceActiveFocus(Qt.MouseFocusReason);
                header.desk.commands.selectStrip(header.entry.channelId);
                pressedAt = mouse.x;
            }
            onPositionChanged: mouse => {
                const far = Math.abs(mouse.x - pressedAt) >= Theme.dragDistance;
                if (!isDragging && far && pressedButtons === Qt.LeftButton && header.desk.session.mayMoveChannels) {
                    isDragging = true;
                    header.dragBegan();
                }
                if (isDragging)
                    header.dragMoved(mapToItem(null, mouse.x, 0).x);
            }
            onReleased: letGo()
            onCanceled: letGo()
            onClicked: mouse => {
                if (mouse.button === Qt.RightButton)
                    header.menuWanted();
            }
            onPressAndHold: if (!isDragging) header.menuWanted()
            Component.onDestruction: letGo()
        }
    }

    EntryField {
        id: name

        objectName: "stripName" + header.entry.index
        y: Theme.touch + 4
        width: parent.width
        height: Theme.touch
        spokenName: header.entry.number + " " + header.entry.name
        echo: header.entry.name
        readOnly: !header.desk.session.mayTypeText
        color: activeFocus ? Theme.ink : "transparent"
        font.pixelSize: 15
        leftPadding: 5
        rightPadding: 3
        onTyped: text => header.desk.commands.setChannelName(header.entry.channelId, text)
        onPressed: header.desk.commands.selectStrip(header.entry.channelId)
        onAccepted: header.forceActiveFocus(Qt.OtherFocusReason)
    }

    // What stands in the field while nobody types there: a line of it would cut a long name off.
    Text {
        objectName: "stripNameShown" + header.entry.index
        anchors.fill: name
        anchors.leftMargin: 5
        anchors.rightMargin: 3
        visible: !name.activeFocus
        text: name.text
        color: Theme.ink
        font.pixelSize: Theme.bodyText
        font.bold: true
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: 14
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
}
