// SPDX-License-Identifier: GPL-3.0-or-later
// The instrument's status and name. A failed one is on a red field.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: status

    required property StripViewModel entry

    readonly property bool isFailed: entry.status === StripViewModel.Crashed
    readonly property color field: isFailed ? Theme.panic : "transparent"
    readonly property color ink: isFailed ? Theme.ink : entry.status === StripViewModel.Running ? Theme.running : Theme.idle

    spacing: 4

    Rectangle {
        objectName: "stripStatus" + status.entry.index
        Layout.fillWidth: true
        implicitHeight: 24
        radius: 3
        color: status.field

        Accessible.role: Accessible.StaticText
        Accessible.name: status.entry.statusText

        Text {
            anchors.fill: parent
            text: status.entry.statusText
            color: status.ink
            font.pixelSize: status.isFailed ? Theme.bodyText : Theme.smallText
            font.bold: true
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: Theme.tinyText
            elide: Text.ElideRight
            horizontalAlignment: status.isFailed ? Text.AlignHCenter : Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
        }
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Theme.divider
    }

    Text {
        objectName: "stripInstrument" + status.entry.index
        Layout.fillWidth: true
        Layout.preferredHeight: 42
        text: status.entry.isPlaying ? "\u25b6 " + status.entry.instrumentText : status.entry.instrumentText
        color: status.entry.isPlaying ? Theme.ready : Theme.quietInk
        font.pixelSize: Theme.smallText
        wrapMode: Text.Wrap
        fontSizeMode: Text.Fit
        minimumPixelSize: Theme.tinyText
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: status.entry.instrumentText
    }
}
