// SPDX-License-Identifier: GPL-3.0-or-later
// Turns while something is under way whose end is not known.
import QtQuick
import Vrel.Console

Item {
    id: spinner

    required property string spokenName
    property bool isTurning

    implicitWidth: 48
    implicitHeight: 48

    Accessible.role: Accessible.Animation
    Accessible.name: spokenName

    Repeater {
        model: 8

        Rectangle {
            required property int index

            readonly property real angle: index * Math.PI / 4

            x: 20 + 18 * Math.sin(angle)
            y: 20 - 18 * Math.cos(angle)
            width: 8
            height: 8
            radius: 4
            color: Theme.teal
            opacity: (index + 1) / 8
        }
    }

    RotationAnimator on rotation {
        from: 0
        to: 360
        duration: 1200
        loops: Animation.Infinite
        running: spinner.isTurning
    }
}
