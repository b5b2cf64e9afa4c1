// SPDX-License-Identifier: GPL-3.0-or-later
// Mute or solo: a word that lights up while it is on.
import QtQuick
import Vrel.Console

PushButton {
    id: button

    required property ConsoleModel desk
    required property int learnKind
    required property color lamp
    property int learnIndex: -1
    property bool isOn

    signal acted

    padding: Theme.isLive ? 5 : 2
    implicitHeight: Theme.row
    textSize: Theme.isLive ? Theme.bodyText : Theme.tinyText
    fill: isOn ? lamp : Theme.raised
    ink: isOn ? Theme.litInk : Theme.quietInk
    edge: isOn ? Qt.lighter(lamp, 1.5) : Theme.line
    edgeWidth: isOn ? 2 : 1
    onClicked: {
        if (!learn.claims())
            acted();
    }

    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onToggleAction: button.clicked()

    LearnTarget {
        id: learn

        desk: button.desk
        kind: button.learnKind
        channelIndex: button.learnIndex
    }
}
