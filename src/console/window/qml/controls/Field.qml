// SPDX-License-Identifier: GPL-3.0-or-later
// A rectangle with round corners, for what is bright. The renderer in software leaves gaps beside the corners of one that it scales;
// what lies below closes them.
import QtQuick
import Vrel.Console

Rectangle {
    id: field

    radius: Theme.radius

    Rectangle {
        z: -1
        anchors.fill: parent
        visible: Theme.hasGaps && field.radius > 1 && field.color.a === 1
        radius: field.radius - 1 // its own gaps are elsewhere
        color: field.color
        border.width: field.border.width
        border.color: field.border.color
    }
}
