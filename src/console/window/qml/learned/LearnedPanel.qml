// SPDX-License-Identifier: GPL-3.0-or-later
// All learned controls of the setlist: what each moves, what of the hardware moves it, and where it holds. A press removes one.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property LearnedControlsViewModel learned: desk.learned

    objectName: "learnedPanel"
    isOpen: learned.isOpen
    title: desk.texts.midiLearn
    owner: desk.texts.learnedControls
    color: Theme.learnable
    onClosed: desk.commands.closeLearnedControls()
    onOpened: list.forceActiveFocus(Qt.PopupFocusReason)

    PageList {
        id: list

        objectName: "learnedList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        spokenName: panel.owner
        model: panel.learned.controls
        Keys.onDeletePressed: if (currentItem) (currentItem as LearnedRow).removed()

        delegate: LearnedRow {
            width: list.rowWidth
            desk: panel.desk
            isOffered: panel.learned.mayRemove
            isCurrent: list.activeFocus && ListView.isCurrentItem
            onRemoved: panel.desk.commands.removeLearnedControl(modelData.controlId)
        }
    }

    Text {
        objectName: "nothingLearned"
        Layout.fillWidth: true
        Layout.fillHeight: true
        visible: list.count === 0
        text: panel.desk.texts.nothingLearned
        color: Theme.quietInk
        font.pixelSize: Theme.bodyText
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
