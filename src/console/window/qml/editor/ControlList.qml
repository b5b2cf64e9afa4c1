// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of a plug-in under the headings of their groups. There are items for what is in sight alone.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ListView {
    id: list

    required property ConsoleModel desk
    required property EditorViewModel entry

    readonly property ControlHeadings headings: ControlHeadings {}
    readonly property ControlRows given: ControlRows {
        entries: list.entry.entries
    }

    objectName: "controlList"
    clip: true
    spacing: 4
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    model: given

    Accessible.role: Accessible.List
    Accessible.name: entry.title

    section.property: "section"
    section.delegate: headings.heading

    delegate: ControlItem {
        width: list.width - 14
        desk: list.desk
        editorId: list.entry.editorId
        laws: list.given
        echo: list.entry.values[control] ?? 0
        words: list.entry.texts[control] ?? ""
        mayChooseFile: list.entry.mayChooseFile
        isPending: list.entry.pendingControl === control
    }

    ScrollBar.vertical: ScrollBar {
        policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 12
        Accessible.name: list.Accessible.name
    }
}
