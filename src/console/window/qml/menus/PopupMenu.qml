// SPDX-License-Identifier: GPL-3.0-or-later
// A menu of the console. It is modal, so that the press that closes it does nothing else.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Menu {
    id: menu

    modal: true
    dim: false
    margins: 4
    padding: 4
    implicitWidth: 370
    overlap: 0

    delegate: PopupEntry {}

    background: Rectangle {
        color: Theme.raised
        radius: Theme.radius
        border.width: 1
        border.color: Theme.quietInk
    }
}
