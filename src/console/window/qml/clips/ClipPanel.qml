// SPDX-License-Identifier: GPL-3.0-or-later
// Sets up which clips a strip shows on which notes. It lies over the strips, so that the keyboard can be played meanwhile.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

ChoicePanel {
    id: panel

    readonly property ClipViewModel clips: desk.clips
    readonly property ClipCommands acts: desk.clipCommands

    objectName: "clipPanel"
    isOpen: clips.isOpen
    title: desk.texts.visualTitle
    owner: clips.stripName
    color: clips.color
    onClosed: acts.cancel()
    onOpened: add.forceActiveFocus(Qt.PopupFocusReason)

    FileDrop {
        parent: panel
        anchors.fill: parent
        takesMany: true
        onFileDropped: file => panel.acts.dropFile(file)
    }

    RowLayout {
        Layout.fillWidth: true
        Layout.fillHeight: true
        spacing: Theme.gap

        ColumnLayout {
            Layout.fillHeight: true
            Layout.fillWidth: true
            Layout.preferredWidth: 560
            spacing: Theme.gap

            Text {
                objectName: "noClips"
                Layout.fillWidth: true
                Layout.fillHeight: true
                visible: list.count === 0
                text: panel.desk.texts.visualNoClips
                color: Theme.quietInk
                font.pixelSize: Theme.bodyText
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            PageList {
                id: list

                objectName: "clipList"
                Layout.fillWidth: true
                Layout.fillHeight: true
                visible: count > 0
                spokenName: panel.title + " " + panel.owner
                activeFocusOnTab: false // the buttons of its rows have the focus
                model: ClipRows {
                    rows: panel.clips.rows
                }
                onCountChanged: if (count > 0 && panel.clips.rows[count - 1].isShown) positionViewAtEnd()

                delegate: ClipItem {
                    width: list.rowWidth
                    desk: panel.desk
                    acts: panel.acts
                }
            }
            PushButton {
                id: add

                objectName: "addClip"
                text: "+ " + spokenName
                spokenName: panel.desk.texts.visualAddClip
                hint: panel.desk.hints.addClip
                onClicked: panel.acts.add()
            }
        }

        ColumnLayout {
            Layout.fillHeight: true
            Layout.preferredWidth: 280
            spacing: 4

            Caption {
                Layout.fillWidth: true
                text: panel.desk.texts.visualPreview
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                color: "black"

                ClipPictureItem {
                    objectName: "clipPreview"
                    anchors.fill: parent
                    visible: panel.clips.hasPreview
                    frame: panel.clips.frame
                    Accessible.role: Accessible.Graphic
                    Accessible.name: panel.desk.texts.visualPreview
                    Accessible.description: isDark ? panel.desk.hints.clipDark : ""
                }
                Text {
                    objectName: "noPreview"
                    anchors.centerIn: parent
                    visible: !panel.clips.hasPreview
                    text: panel.desk.texts.playbackNoFileSelected
                    color: Theme.quietInk
                    font.pixelSize: Theme.smallText
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.gap

                PushButton {
                    objectName: "clipCancel"
                    Layout.fillWidth: true
                    text: panel.desk.texts.playbackCancel
                    hint: panel.desk.hints.trackCancel
                    onClicked: panel.acts.cancel()
                }
                PushButton {
                    objectName: "clipApply"
                    Layout.fillWidth: true
                    text: panel.desk.texts.playbackApply
                    hint: panel.desk.hints.trackApply
                    fill: Theme.accent
                    onClicked: panel.acts.apply()
                }
            }
        }
    }

    NoteKeys {
        objectName: "noteKeys"
        Layout.fillWidth: true
        Layout.preferredHeight: 70
        visible: panel.clips.pickedId !== ""
        selectedNote: panel.clips.pickedNote
        accent: panel.clips.color
        onPicked: note => panel.acts.setNote(panel.clips.pickedId, note)
        Accessible.role: Accessible.Grouping
        Accessible.name: panel.desk.texts.visualNote
    }
}
