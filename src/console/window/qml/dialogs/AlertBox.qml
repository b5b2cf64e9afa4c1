// SPDX-License-Identifier: GPL-3.0-or-later
// Asks or reports something and waits. Return is the first button, Escape dismisses it; nothing else of the window can be reached.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ModalShade {
    id: box

    required property ConsoleModel desk

    readonly property AlertViewModel alert: desk.alert
    readonly property color sign: alert.isWarning ? Theme.warning : Theme.teal

    function answer(button: int): void {
        desk.commands.answerAlert(button);
    }

    objectName: "alertBox"
    visible: alert.isShown
    focus: visible
    onVisibleChanged: if (visible) forceActiveFocus(Qt.PopupFocusReason)
    Keys.onReturnPressed: answer(0)
    Keys.onEnterPressed: answer(0)
    Keys.onEscapePressed: answer(-1)

    Accessible.role: Accessible.AlertMessage
    Accessible.name: alert.message
    Accessible.description: alert.informative

    Panel {
        anchors.centerIn: parent
        width: Math.min(720, parent.width - 64)
        height: body.implicitHeight + 56
        border.width: 3
        border.color: box.sign

        ColumnLayout {
            id: body

            anchors.fill: parent
            anchors.margins: 28
            spacing: 20

            RowLayout {
                Layout.fillWidth: true
                spacing: 20

                AlertSign {
                    Layout.alignment: Qt.AlignTop
                    isWarning: box.alert.isWarning
                    color: box.sign
                }

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 10

                    Text {
                        objectName: "alertMessage"
                        Layout.fillWidth: true
                        text: box.alert.message
                        color: Theme.ink
                        font.pixelSize: 24
                        font.bold: true
                        wrapMode: Text.Wrap
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    Text {
                        objectName: "alertInformative"
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: box.alert.informative
                        color: Theme.quietInk
                        font.pixelSize: 18
                        wrapMode: Text.Wrap
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }
            }

            AlertButtons {
                Layout.fillWidth: true
                desk: box.desk
                words: box.alert.buttons
                onChosen: button => box.answer(button)
            }
        }
    }
}
