// SPDX-License-Identifier: GPL-3.0-or-later
// The head of the window: whose console it is, which file, which MIDI port, and the buttons that change what the console is doing.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: header

    required property ConsoleModel desk

    readonly property bool isLive: desk.session.isLive
    readonly property string fileWords: desk.session.fileName === "" ? "\u2014" : desk.session.fileName

    // What is wrong needs the room, and the names of the file and of the MIDI port must stay in sight beside it.
    readonly property bool isCrowded: output.visible || failures.implicitWidth > 0 || dropouts.visible

    implicitHeight: 54

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.gap
        anchors.rightMargin: 4
        anchors.topMargin: 3
        anchors.bottomMargin: 3
        spacing: Theme.gap

        AppTitle {
            desk: header.desk
            hasRoomForSlogan: !header.isCrowded
            Layout.alignment: Qt.AlignVCenter
        }

        LanguagePicker {
            desk: header.desk
            Layout.preferredWidth: 72
            Layout.fillHeight: true
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignVCenter
            spacing: 1

            Text {
                objectName: "fileName"
                Layout.fillWidth: true
                text: header.desk.session.isDirty ? header.fileWords + " \u2022" : header.fileWords
                color: header.desk.session.isDirty ? Theme.warning : Theme.ink
                font.pixelSize: Theme.bodyText
                font.bold: true
                elide: Text.ElideMiddle
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            MidiPortLabel {
                Layout.fillWidth: true
                desk: header.desk
            }
        }

        AudioOutputLabel {
            id: output

            Layout.preferredWidth: 200
            Layout.alignment: Qt.AlignVCenter
            desk: header.desk
        }

        FailureSigns {
            id: failures

            Layout.maximumWidth: 320
            Layout.fillHeight: true
            desk: header.desk
        }

        DropoutLamp {
            id: dropouts

            Layout.preferredWidth: 100
            Layout.fillHeight: true
            desk: header.desk
        }

        PushButton {
            objectName: "liveButton"
            Layout.preferredWidth: 104
            Layout.fillHeight: true
            text: header.isLive ? "LIVE" : "EDIT"
            spokenName: header.isLive ? header.desk.texts.modeLive : header.desk.texts.modeEdit
            textSize: 28
            hint: header.desk.hints.liveMode
            Accessible.checkable: true
            Accessible.checked: header.isLive
            fill: header.isLive ? Theme.live : Theme.edit
            ink: Theme.ink
            edge: header.isLive ? Theme.ink : Theme.line
            edgeWidth: header.isLive ? 2 : 1
            onClicked: header.desk.commands.toggleLiveMode()
        }

        PushButton {
            objectName: "learnButton"
            Layout.preferredWidth: 120
            Layout.fillHeight: true
            text: header.desk.session.learnLabel
            hint: header.desk.hints.learn
            Accessible.checkable: true
            Accessible.checked: header.desk.session.isLearning
            textSize: Theme.strongText
            fill: header.desk.session.isLearning ? Theme.learnable : Theme.raised
            onClicked: header.desk.commands.toggleLearn()
        }

        // The panic button is here; it belongs to the window, above whatever covers the rest.
        Item {
            Layout.preferredWidth: 152
            Layout.fillHeight: true
        }
    }
}
