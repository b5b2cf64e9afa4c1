// SPDX-License-Identifier: GPL-3.0-or-later
// The versions of the setlist that saves have replaced, newest first, each with its songs. A press opens one.
pragma ComponentBehavior: Bound

import QtQuick
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
            Accessible.ignored: text === ""
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Spinner {
            visible: panel.copies.isReading
            isTurning: visible
            spokenName: panel.owner
        }
    }

    PageList {
        id: list

        objectName: "copiesList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        spokenName: panel.owner
        model: panel.copies.rows

        delegate: CopyRow {
            width: list.rowWidth
            desk: panel.desk
            isOffered: panel.copies.mayRestore && modelData.isGood
            isCurrent: list.activeFocus && ListView.isCurrentItem
            onRestored: panel.desk.commands.restoreCopy(modelData.path)
        }
    }
}
