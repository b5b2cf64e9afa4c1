// SPDX-License-Identifier: GPL-3.0-or-later
// Shows from afar whether something is wrong or only reported.
import QtQuick
import Vrel.Console

Rectangle {
    id: sign

    required property bool isWarning

    implicitWidth: 60
    implicitHeight: 60
    radius: isWarning ? 8 : 30

    Text {
        anchors.centerIn: parent
        text: sign.isWarning ? "!" : "i"
        color: Theme.darkInk
        font.pixelSize: 42
        font.bold: true
    }
}
