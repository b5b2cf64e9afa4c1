// SPDX-License-Identifier: GPL-3.0-or-later
// How the instrument is, and which it is. A failed one stands out on a red field.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

ColumnLayout {
    id: status

    required property MirrorItem entry
    required property bool isFailed

    spacing: 4

    Rectangle {
        objectName: "stripStatus" + status.entry.index
        Layout.fillWidth: true
        implicitHeight: 24
        radius: 3
        color: status.isFailed ? Theme.panic : "transparent"

        Accessible.role: Accessible.StaticText
        Accessible.name: status.entry.statusText

        Text {
            anchors.fill: parent
            text: status.entry.statusText
            color: status.isFailed ? Theme.ink : status.entry.statusColor
            font.pixelSize: status.isFailed ? Theme.bodyText : Theme.smallText
            font.bold: true
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 10
            elide: Text.ElideRight
            horizontalAlignment: status.isFailed ? Text.AlignHCenter : Text.AlignLeft
            verticalAlignment: Text.AlignVCenter
        }
    }

    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 1
        color: Qt.rgba(45 / 255, 45 / 255, 45 / 255, 1)
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
        minimumPixelSize: 11
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: status.entry.instrumentText
    }
}
