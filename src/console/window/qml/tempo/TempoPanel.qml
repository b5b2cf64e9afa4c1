// SPDX-License-Identifier: GPL-3.0-or-later
// The tempo of the song on stage, by number, by steps and by taps.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    implicitHeight: body.implicitHeight + 10

    ColumnLayout {
        id: body

        anchors.fill: parent
        anchors.margins: 5
        spacing: 4

        Caption {
            Layout.fillWidth: true
            text: panel.desk.texts.tempoTitle
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.preferredHeight: 44
            spacing: 6

            PushButton {
                objectName: "tempoDown"
                Layout.preferredWidth: 44
                Layout.fillHeight: true
                text: "\u2212"
                spokenName: panel.desk.texts.tempoTitle + " \u2212"
                textSize: 26
                hint: panel.desk.hints.tempoStep
                autoRepeat: true
                onClicked: panel.desk.commands.stepTempo(-1)
            }
            TempoField {
                desk: panel.desk
                Layout.fillWidth: true
                Layout.fillHeight: true
            }
            PushButton {
                objectName: "tempoUp"
                Layout.preferredWidth: 44
                Layout.fillHeight: true
                text: "+"
                spokenName: panel.desk.texts.tempoTitle + " +"
                textSize: 26
                hint: panel.desk.hints.tempoStep
                autoRepeat: true
                onClicked: panel.desk.commands.stepTempo(1)
            }
            TapButton {
                desk: panel.desk
                Layout.preferredWidth: 80
                Layout.fillHeight: true
            }
        }
    }
}
