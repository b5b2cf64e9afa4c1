// SPDX-License-Identifier: GPL-3.0-or-later
// A panel that belongs to one strip and leaves the rest of the console at work. Escape closes it, and the focus goes back to
// where it came from.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

FocusScope {
    id: panel

    required property ConsoleModel desk
    property bool isOpen
    property string title
    property string owner
    property color color
    property Item cameFrom: null
    default property alias content: body.data
    property alias tools: toolRow.data // beside the button that closes it

    signal opened
    signal closed

    visible: false
    Keys.onEscapePressed: closed()
    onIsOpenChanged: {
        const hadFocus = focus; // also while a modal keeps the focus away
        visible = isOpen;
        if (isOpen) {
            cameFrom = Window.activeFocusItem;
            opened();
        } else if (cameFrom) {
            if (hadFocus)
                cameFrom.forceActiveFocus(Qt.PopupFocusReason);
            cameFrom = null;
        }
    }

    Accessible.role: Accessible.Dialog
    Accessible.name: title + " " + owner

    Panel {
        anchors.fill: parent
        border.width: 2
        border.color: panel.color

        // What lies below gets no press through the gaps.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.AllButtons
            onWheel: wheel => wheel.accepted = true
        }
    }

    ColumnLayout {
        id: body

        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: false
            spacing: Theme.gap

            Rectangle {
                implicitWidth: 8
                implicitHeight: 44
                radius: 3
                color: panel.color
            }
            Column {
                Layout.fillWidth: true

                Caption {
                    width: parent.width
                    text: panel.title
                }
                Text {
                    width: parent.width
                    text: panel.owner
                    textFormat: Text.PlainText
                    color: Theme.ink
                    font.pixelSize: Theme.strongText
                    font.bold: true
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 12
                    elide: Text.ElideRight
                }
            }
            RowLayout {
                id: toolRow

                spacing: Theme.gap
                visible: children.length > 0
            }
            PushButton {
                objectName: panel.objectName + "Close"
                text: "\u2715"
                spokenName: panel.desk.texts.closePanel
                hint: spokenName
                onClicked: panel.closed()
            }
        }
    }
}
