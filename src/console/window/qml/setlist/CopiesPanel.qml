// SPDX-License-Identifier: GPL-3.0-or-later
// The versions of the setlist that saves have replaced, newest first, each with its songs. A press opens one.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property CopiesViewModel copies: desk.copies

    objectName: "copiesPanel"
    isOpen: copies.isOpen
    title: desk.texts.setlist
    owner: desk.texts.keptCopies
    color: Theme.teal
    onClosed: desk.commands.closeCopies()
    onOpened: list.forceActiveFocus(Qt.PopupFocusReason)

    RowLayout {
        Layout.fillWidth: true
        Layout.fillHeight: false
        spacing: Theme.gap

        Text {
            objectName: "copiesStatus"
            Layout.fillWidth: true
            text: panel.copies.status
            color: Theme.quietInk
            font.pixelSize: Theme.bodyText
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Spinner {
            visible: panel.copies.isReading
            isTurning: visible
            spokenName: panel.owner
        }
    }

    ListView {
        id: list

        objectName: "copiesList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        clip: true
        spacing: 4
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        highlightMoveDuration: 0
        model: panel.copies.rows

        Accessible.role: Accessible.List
        Accessible.name: panel.owner

        ScrollBar.vertical: ScrollBar {
            policy: list.contentHeight > list.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
            width: 12
            Accessible.name: panel.owner
        }

        delegate: CopyRow {
            width: list.width - 14
            desk: panel.desk
            isOffered: panel.copies.mayRestore && modelData.isGood
            isCurrent: list.activeFocus && ListView.isCurrentItem
            onRestored: panel.desk.commands.restoreCopy(modelData.path)
        }
    }
}
