// SPDX-License-Identifier: GPL-3.0-or-later
// The channel strips in their order, the button that adds one, and the master strip, which is always in sight.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

Panel {
    id: panel

    required property ConsoleModel desk

    RowLayout {
        anchors.fill: parent
        anchors.margins: 5
        spacing: 6

        StripList {
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
