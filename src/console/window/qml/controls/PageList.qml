// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of a page, with room for the scroll bar beside them.
import QtQuick
import QtQuick.Controls.Basic

ListView {
    id: list

    required property string spokenName
    readonly property real rowWidth: width - 14

    clip: true
    spacing: 4
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: true
    highlightMoveDuration: 0

    Accessible.role: Accessible.List
    Accessible.name: spokenName

    ScrollBar.vertical: ScrollBar {
        policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 12
        Accessible.name: list.spokenName
    }
}
