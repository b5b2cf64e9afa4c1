// SPDX-License-Identifier: GPL-3.0-or-later
// How far something has come, from 0 to 1.
import QtQuick
import Vrel.Console

Rectangle {
    id: line

    required property string spokenName
    required property real value

    readonly property real part: Math.min(1, Math.max(0, value))

    implicitHeight: 16
    radius: height / 2
    color: Theme.well
    border.width: 1
    border.color: Theme.line

    Accessible.role: Accessible.ProgressBar
    Accessible.name: spokenName
    Accessible.description: Math.round(part * 100) + " %"

    Rectangle {
        width: line.part * parent.width
        height: parent.height
        radius: line.radius
        color: Theme.teal
    }
}
