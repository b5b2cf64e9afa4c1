// SPDX-License-Identifier: GPL-3.0-or-later
// A button of the console: a flat field with one word, large enough for a finger.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

AbstractButton {
    id: button

    property color fill: Theme.raised
    property color ink: Theme.inkOn(fill)
    property color edge: Theme.line
    property int edgeWidth: 1
    property int textSize: Theme.bodyText
    property real letterSpacing
    property string spokenName: text
    property bool isOffered: true
    property string hint

    padding: 6
    implicitWidth: Math.max(Theme.touch, implicitContentWidth + 4 * padding)
    implicitHeight: Theme.touch
    enabled: isOffered
    opacity: isOffered ? 1 : 0.4

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.description: hint
    Accessible.onPressAction: button.clicked()

    background: Field {
        color: button.down ? Qt.lighter(button.fill, 1.35) : button.fill
        border.width: button.visualFocus ? 3 : button.edgeWidth
        border.color: button.visualFocus ? Theme.teal : button.edge
    }

    contentItem: Text {
        text: button.text
        color: button.ink
        font.pixelSize: button.textSize
        font.bold: true
        font.letterSpacing: button.letterSpacing
        fontSizeMode: Text.Fit
        minimumPixelSize: Theme.tinyText
        wrapMode: Text.WordWrap
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    Hint {
        over: button
        text: button.hint
    }
}
