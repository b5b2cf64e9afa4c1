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

    implicitHeight: 80

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 2 * Theme.gap
        anchors.rightMargin: Theme.gap
        anchors.topMargin: Theme.gap
        anchors.bottomMargin: Theme.gap
        spacing: Theme.gap

        AppTitle {
            desk: header.desk
            Layout.alignment: Qt.AlignVCenter
            Layout.preferredWidth: 200
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignVCenter
            spacing: 4

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

        DropoutLamp {
            Layout.preferredWidth: 100
            Layout.preferredHeight: Theme.touch
            desk: header.desk
        }

        LanguagePicker {
            desk: header.desk
            Layout.preferredWidth: 84
            Layout.preferredHeight: Theme.touch
        }

        PushButton {
            objectName: "liveButton"
            Layout.preferredWidth: 130
            Layout.fillHeight: true
            text: header.isLive ? "LIVE" : "EDIT"
            spokenName: header.isLive ? header.desk.texts.modeLive : header.desk.texts.modeEdit
            textSize: 34
            fill: header.isLive ? Theme.live : Theme.edit
            ink: Theme.ink
            edge: header.isLive ? Theme.ink : Theme.line
            edgeWidth: header.isLive ? 2 : 1
            onClicked: header.desk.commands.toggleLiveMode()
        }

        PushButton {
            objectName: "learnButton"
            Layout.preferredWidth: 136
            Layout.fillHeight: true
            text: header.desk.session.learnLabel
            textSize: Theme.strongText
            fill: header.desk.session.isLearning ? Theme.learnable : Theme.raised
            onClicked: header.desk.commands.toggleLearn()
        }

        // The panic button is here; it belongs to the window, above whatever covers the rest.
        Item {
            Layout.preferredWidth: 160
            Layout.fillHeight: true
        }
    }
}
