// SPDX-License-Identifier: GPL-3.0-or-later
// Covers the window while instruments load.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ModalShade {
    id: modal

    required property ConsoleModel desk

    readonly property real progress: desk.session.loadingProgress

    objectName: "loadingModal"
    visible: desk.session.isLoading
    darkness: 0.7

    Accessible.role: Accessible.Dialog
    Accessible.name: desk.session.loadingMessage

    Panel {
        anchors.centerIn: parent
        width: Math.min(620, parent.width - 64)
        height: body.implicitHeight + 48
        border.width: 2
        border.color: Theme.teal

        ColumnLayout {
            id: body

            anchors.fill: parent
            anchors.margins: 24
            spacing: 18

            Text {
                Layout.fillWidth: true
                text: modal.desk.session.loadingMessage
                color: Theme.ink
                font.pixelSize: Theme.songText
                font.bold: true
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            ProgressLine {
                objectName: "loadingBar"
                Layout.fillWidth: true
                visible: modal.progress >= 0
                spokenName: modal.desk.session.loadingMessage
                value: modal.progress
            }

            Spinner {
                objectName: "loadingSpinner"
                Layout.alignment: Qt.AlignHCenter
                visible: modal.progress < 0
                isTurning: modal.progress < 0 && modal.visible
                spokenName: modal.desk.session.loadingMessage
            }

            Text {
                objectName: "loadingCounters"
                Layout.fillWidth: true
                visible: modal.desk.session.totalLoads > 1
                text: modal.desk.session.remainingLoads + " / " + modal.desk.session.totalLoads
                color: Theme.faintInk
                font.pixelSize: Theme.strongText
                font.bold: true
                horizontalAlignment: Text.AlignHCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
