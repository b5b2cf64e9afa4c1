// SPDX-License-Identifier: GPL-3.0-or-later
// What would fail on stage: each song below its name, worst first, with what to do about each finding.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property CheckViewModel check: desk.check

    objectName: "checkPanel"
    isOpen: check.isOpen
    title: desk.texts.setlist
    owner: desk.texts.checkSetlist
    color: Theme.teal
    onClosed: desk.commands.closeCheck()
    onOpened: list.forceActiveFocus(Qt.PopupFocusReason)

    RowLayout {
        Layout.fillWidth: true
        Layout.fillHeight: false
        spacing: Theme.gap

        Text {
            objectName: "checkStatus"
            Layout.fillWidth: true
            text: panel.check.status
            color: Theme.ink
            font.pixelSize: Theme.bodyText
            wrapMode: Text.Wrap
            textFormat: Text.PlainText // a reason may have any characters
            Accessible.ignored: text === ""
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        PushButton {
            objectName: "runCheck"
            Layout.preferredWidth: 180
            text: panel.check.isRunning ? panel.desk.texts.stopCheck : panel.desk.texts.checkAgain
            hint: !panel.check.mayStart ? panel.desk.hints.notInLiveMode : panel.check.isRunning ? panel.desk.hints.stopCheck : panel.desk.hints.checkAgain
            isOffered: panel.check.mayStart
            onClicked: {
                if (panel.check.isRunning)
                    panel.desk.commands.stopCheck();
                else
                    panel.desk.commands.startCheck();
            }
        }
    }

    ProgressLine {
        objectName: "checkProgress"
        Layout.fillWidth: true
        visible: panel.check.isRunning
        implicitHeight: 8
        spokenName: panel.owner
        value: panel.check.progress
    }

    PageList {
        id: list

        objectName: "checkList"
        Layout.fillWidth: true
        Layout.fillHeight: true
        spokenName: panel.owner
        model: panel.check.rows

        delegate: CheckRow {
            width: list.rowWidth
            isCurrent: list.activeFocus && ListView.isCurrentItem
        }
    }
}
