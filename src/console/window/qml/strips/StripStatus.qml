// SPDX-License-Identifier: GPL-3.0-or-later
// How the strip's instrument is. A failed one is on a red field.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: status

    required property StripViewModel entry

    readonly property bool isFailed: entry.status === StripViewModel.Crashed
    readonly property color field: isFailed ? Theme.panic : "transparent"
    readonly property color ink: isFailed ? Theme.ink : entry.status === StripViewModel.Running ? Theme.running : Theme.idle

    spacing: 1

    Rectangle {
        objectName: "stripStatus" + status.entry.index
        Layout.fillWidth: true
        implicitHeight: 17
        radius: 3
        color: status.field

        Accessible.role: Accessible.StaticText
        Accessible.name: status.entry.statusText

        Text {
            anchors.fill: parent
            text: status.entry.statusText
            color: status.ink
            font.pixelSize: Theme.tinyText
            font.bold: true
            elide: Text.ElideRight
            horizontalAlignment: status.isFailed ? Text.AlignHCenter : Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.divider
    }
}
