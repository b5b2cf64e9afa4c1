// SPDX-License-Identifier: GPL-3.0-or-later
// A menu of the console. It is modal, so that the press that closes it does nothing else.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Window
import Vrel.Console

Menu {
    id: menu

    readonly property Item place: menu.parent ? menu.parent.Window.contentItem : null

    modal: true
    dim: false
    // The content is drawn larger than it is: what is seen of it ends before the window's own width and height.
    margins: 4
    rightMargin: place ? Math.max(4, 4 + menu.parent.Window.width - place.width) : 4
    bottomMargin: place ? Math.max(4, 4 + menu.parent.Window.height - place.height) : 4
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
