// SPDX-License-Identifier: GPL-3.0-or-later
// One thing that the performer does beside the keys. It is shown, and changes nothing; in learn mode a press picks it.
import QtQuick
import Vrel.Console

Item {
    id: item

    required property ConsoleModel desk
    required property string title
    required property string spokenName
    required property int learnKind
    required property real value // 0 to 1

    readonly property bool isLearning: desk.session.isLearning
    readonly property int barTop: 16

    function pick(): void {
        learn.claims();
    }

    implicitHeight: 26
    activeFocusOnTab: isLearning
    Keys.onReturnPressed: pick()
    Keys.onSpacePressed: pick()

    Accessible.role: Accessible.ProgressBar
    Accessible.name: spokenName
    Accessible.description: Math.round(value * 100) + " %"
    Accessible.readOnly: true
    Accessible.focusable: isLearning
    Accessible.onPressAction: item.pick()

    Hint {
        over: item
        text: item.desk.hints.performanceItem
    }

    Text {
        width: item.width
        text: item.title
        color: Qt.rgba(155 / 255, 155 / 255, 155 / 255, 1)
        font.pixelSize: Theme.tinyText
        font.bold: true
        elide: Text.ElideRight
    }

    MouseArea {
        anchors.fill: parent
        enabled: item.isLearning
        onClicked: item.pick()
    }

    LearnTarget {
        id: learn

        desk: item.desk
        kind: item.learnKind
    }
}
