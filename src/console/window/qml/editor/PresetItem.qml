// SPDX-License-Identifier: GPL-3.0-or-later
// One preset of the list. A press loads it and leaves the list open.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ItemDelegate { // a button would be one to assistive technology, whatever its role says
    id: row

    required property string name
    property string hint
    property bool isCurrent

    padding: 0
    implicitHeight: Theme.touch
    focusPolicy: Qt.NoFocus

    Accessible.name: name
    Accessible.selectable: true
    Accessible.selected: isCurrent
    Accessible.onPressAction: row.clicked()

    background: Rectangle {
        radius: Theme.radius
        color: row.down ? Qt.lighter(Theme.raised, 1.35) : row.isCurrent || row.hovered ? Theme.raised : Theme.well
        border.width: row.isCurrent ? 2 : 0
        border.color: Theme.teal
    }

    contentItem: Text {
        leftPadding: 12
        rightPadding: 12
        text: row.name
        color: row.isCurrent ? Theme.running : Theme.ink
        font.pixelSize: Theme.bodyText
        font.bold: row.isCurrent
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }

    Hint {
        over: row
        text: row.hint
    }
}
