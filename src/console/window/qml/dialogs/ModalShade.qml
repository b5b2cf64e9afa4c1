// SPDX-License-Identifier: GPL-3.0-or-later
// Dims the window and keeps every press from what lies below.
import QtQuick

FocusScope {
    id: modal

    property real darkness: 0.8

    // Takes the presses at once, but comes up softly: what lasts an instant does not flash on a dark stage.
    opacity: visible ? 1 : 0
    Behavior on opacity {
        NumberAnimation {
            duration: 180
        }
    }

    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: modal.darkness
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: wheel => wheel.accepted = true
    }
}
