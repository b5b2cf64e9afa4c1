// SPDX-License-Identifier: GPL-3.0-or-later
// A wheel: its place on a short bar, at rest at the left end or in the middle.
import QtQuick
import Vrel.Console

PerformanceItem {
    id: slider

    property bool centered: false

    readonly property real rest: centered ? 0.5 : 0
    readonly property real from: Math.min(rest, value)
    readonly property real to: Math.max(rest, value)

    implicitWidth: 76

    Rectangle {
        id: bar

        y: slider.barTop
        width: 76
        height: 8
        radius: 2
        color: Qt.rgba(55 / 255, 55 / 255, 55 / 255, 1)

        Rectangle {
            objectName: slider.objectName + "Fill"
            x: slider.from * bar.width
            width: (slider.to - slider.from) * bar.width
            height: bar.height
            radius: 2
            color: Theme.teal
        }
        Rectangle {
            objectName: slider.objectName + "Mark"
            x: slider.value * (bar.width - width)
            y: -1
            width: 3
            height: bar.height + 2
            radius: 1
            color: Theme.ink
        }
    }
}
