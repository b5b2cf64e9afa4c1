// SPDX-License-Identifier: GPL-3.0-or-later
// A bar with a marker for each of its values. The place of the pointer is the value of the marker that it took: the nearest, or the
// one on its own side of both where they rest on each other.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Item {
    id: bar

    required property int lower
    required property int upper
    required property list<int> values
    property bool isFilled // from the first marker to the last
    property color color: Theme.teal
    property string hint

    readonly property real inset: 5

    signal moved(int marker, int value)

    function place(value: int): real {
        return inset + Laws.barMarker(value, lower, upper) * (width - 2 * inset);
    }

    implicitHeight: 14

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        x: bar.inset
        width: parent.width - 2 * bar.inset
        height: 4
        radius: 2
        color: Theme.barTrack
    }
    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        visible: bar.isFilled
        x: bar.place(bar.values[0])
        width: Math.max(2, bar.place(bar.values[bar.values.length - 1]) - x)
        height: 4
        color: bar.color
    }
    Repeater {
        model: bar.values.length

        Field {
            required property int index

            y: (bar.height - height) / 2
            x: bar.place(bar.values[index]) - width / 2
            width: 8
            height: 14
            radius: 3
            color: Theme.ink
        }
    }

    MouseArea {
        id: touch

        property int marker

        function nearest(x: real): int {
            if (bar.values.length < 2)
                return 0;
            const first = bar.place(bar.values[0]);
            const second = bar.place(bar.values[1]);
            if (first === second)
                return x <= first ? 0 : 1;
            return Math.abs(x - first) <= Math.abs(x - second) ? 0 : 1;
        }

        function follow(x: real): void {
            bar.moved(marker, Laws.barValue(x - bar.inset, bar.width - 2 * bar.inset, bar.lower, bar.upper));
        }

        anchors.fill: parent
        anchors.bottomMargin: Math.min(0, parent.height - 24) // below it, since above it is its badge
        preventStealing: true
        onPressed: mouse => {
            marker = nearest(mouse.x);
            follow(mouse.x);
        }
        onPositionChanged: mouse => follow(mouse.x)
    }

    Hint {
        over: bar
        text: touch.pressed ? "" : bar.hint
    }
}
