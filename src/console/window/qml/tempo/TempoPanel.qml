// SPDX-License-Identifier: GPL-3.0-or-later
// The tempo of the song on stage, by number, by steps and by taps.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    implicitHeight: body.implicitHeight + 2 * Theme.gap

    ColumnLayout {
        id: body

        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: 6

        Caption {
            Layout.fillWidth: true
            text: panel.desk.texts.tempoTitle
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.gap

            PushButton {
                objectName: "tempoDown"
                Layout.preferredWidth: Theme.touch
                Layout.preferredHeight: 68
                text: "\u2212"
                spokenName: panel.desk.texts.tempoTitle + " \u2212"
                textSize: 32
                autoRepeat: true
                onClicked: panel.desk.commands.stepTempo(-1)
            }
            TempoField {
                desk: panel.desk
                Layout.fillWidth: true
                Layout.preferredHeight: 68
            }
            PushButton {
                objectName: "tempoUp"
                Layout.preferredWidth: Theme.touch
                Layout.preferredHeight: 68
                text: "+"
                spokenName: panel.desk.texts.tempoTitle + " +"
                textSize: 32
                autoRepeat: true
                onClicked: panel.desk.commands.stepTempo(1)
            }
            TapButton {
                desk: panel.desk
                Layout.preferredWidth: 88
                Layout.preferredHeight: 68
            }
        }
    }
}
