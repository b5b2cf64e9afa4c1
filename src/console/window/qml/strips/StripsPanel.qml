// SPDX-License-Identifier: GPL-3.0-or-later
// The channel strips in their order, the button that adds one, and the master strip, which is always in sight.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.gap
        spacing: Theme.gap

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: false
            Layout.preferredHeight: 44
            spacing: Theme.gap

            Caption {
                Layout.fillWidth: true
                text: panel.desk.texts.channelStrips
                font.pixelSize: Theme.bodyText
            }

            Row {
                Layout.maximumWidth: panel.width - 260
                clip: true
                spacing: Theme.gap

                Repeater {
                    model: panel.desk.strips

                    FailureSign {
                        height: 44
                        onClicked: strips.positionViewAtIndex(index, ListView.Contain)
                    }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: Theme.gap

            StripList {
                id: strips

                Layout.fillWidth: true
                Layout.fillHeight: true
                desk: panel.desk
            }

            MasterStrip {
                Layout.preferredWidth: panel.desk.session.isLive ? Theme.masterInLive : Theme.masterInEdit
                Layout.fillHeight: true
                desk: panel.desk
            }
        }
    }
}
