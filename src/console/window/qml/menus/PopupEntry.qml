// SPDX-License-Identifier: GPL-3.0-or-later
// One line of a menu: its check mark, its words and its keys.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vrel.Console

MenuItem {
    id: entry

    property string keys
    property string symbol // of a MenuIcon
    property string hint

    readonly property color paint: highlighted && enabled ? Theme.darkInk : enabled ? Theme.ink : Theme.faded(Theme.quietInk, 0.55)

    implicitHeight: Theme.touch

    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.description: hint
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.onPressAction: entry.triggered()

    background: Rectangle {
        color: entry.highlighted && entry.enabled ? Theme.accent : "transparent"
        radius: 4
    }
    indicator: Text {
        x: 12
        anchors.verticalCenter: parent.verticalCenter
        visible: entry.checkable && entry.checked
        text: "\u2713"
        color: entry.paint
        font.pixelSize: Theme.strongText
        font.bold: true
    }
    MenuIcon {
        x: 12
        anchors.verticalCenter: parent.verticalCenter
        visible: symbol !== ""
        symbol: entry.symbol
        color: entry.paint
    }

    Hint {
        over: entry
        text: entry.hint
        isBeside: true
    }

    arrow: Text {
        x: entry.width - width - 12
        anchors.verticalCenter: parent.verticalCenter
        visible: entry.subMenu !== null
        text: "\u203a"
        color: entry.paint
        font.pixelSize: 26
    }
    contentItem: RowLayout {
        spacing: 16

        Text {
            Layout.fillWidth: true
            Layout.leftMargin: 32
            text: entry.text
            color: entry.paint
            font.pixelSize: Theme.bodyText
            elide: Text.ElideRight
        }
        Text {
            Layout.rightMargin: entry.subMenu ? 24 : 8
            text: entry.keys
            color: entry.paint
            font.pixelSize: Theme.smallText
        }
    }
}
