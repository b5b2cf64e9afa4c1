// SPDX-License-Identifier: GPL-3.0-or-later
// A pedal: a line that can always be seen while it is active, and is empty otherwise.
import QtQuick
import Vrel.Console

PerformanceItem {
    id: line

    required property color activeColor
    required property bool isActive
    required property real fill // of the track

    Rectangle {
        id: track

        y: line.barTop
        width: line.width
        height: 8
        radius: 2
        color: Qt.rgba(55 / 255, 55 / 255, 55 / 255, 1)

        Rectangle {
            objectName: line.objectName + "Fill"
            width: line.fill * track.width
            height: track.height
            radius: 2
            color: line.activeColor
            opacity: line.isActive ? 0.95 : 0
        }
    }
}
