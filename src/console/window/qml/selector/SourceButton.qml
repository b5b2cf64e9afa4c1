// SPDX-License-Identifier: GPL-3.0-or-later
// One of the two sources of the program's own: its title, and under it what it plays.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

AbstractButton {
    id: button

    required property string title
    required property string subtitle
    required property string symbol // of a MenuIcon

    implicitHeight: 68

    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: subtitle
    Accessible.onPressAction: button.clicked()

    background: Field {
        color: button.down ? Qt.lighter(Theme.raised, 1.35) : Theme.raised
        border.width: button.visualFocus ? 3 : 1
        border.color: button.visualFocus ? Theme.teal : Theme.line
    }

    contentItem: Item {
        Column {
            anchors.verticalCenter: parent.verticalCenter
            x: 6
            width: parent.width - 2 * x
            spacing: 2

            Row {
                width: parent.width
                spacing: 4

                MenuIcon {
                    symbol: button.symbol
                    color: Theme.teal
                }
                Text {
                    width: parent.width - 22
                    height: 18
                    text: button.title
                    color: Theme.ink
                    font.pixelSize: Theme.bodyText
                    font.bold: true
                    fontSizeMode: Text.HorizontalFit
                    minimumPixelSize: 12
                    elide: Text.ElideRight
                    verticalAlignment: Text.AlignVCenter
                }
            }
            Text {
                width: parent.width
                text: button.subtitle
                color: Theme.quietInk
                font.pixelSize: 12
                wrapMode: Text.Wrap
            }
        }
    }

    Hint {
        over: button
        text: button.subtitle
    }
}
