// SPDX-License-Identifier: GPL-3.0-or-later
// A field in the colour of a strip, which a press changes.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

AbstractButton {
    id: square

    required property color color
    property string spokenName
    property string hint
    property int textSize: 16

    signal acted

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.description: hint
    Accessible.onPressAction: square.acted()
    onClicked: acted()

    background: Field {
        radius: 4
        color: square.color
        border.width: square.visualFocus ? 3 : 0
        border.color: Theme.teal
    }
    contentItem: Text {
        text: square.text
        color: Theme.inkOn(square.color)
        font.pixelSize: square.textSize
        font.bold: true
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    Hint {
        over: square
        text: square.hint
    }
}
