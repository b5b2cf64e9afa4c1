// SPDX-License-Identifier: GPL-3.0-or-later
// One of the three parts of a colour, 0 to 1.
import QtQuick
import Vrel.Console

Item {
    id: slider

    required property string spokenName
    required property list<color> ends // of four stops
    property real echo // of the logic
    property real value: echo // what assistive technology reads and writes

    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property real stepSize: 0.02

    signal moved(real value)

    function put(value: real): void {
        moved(Math.max(0, Math.min(1, value)));
    }

    implicitHeight: 28
    activeFocusOnTab: true

    Accessible.role: Accessible.Slider
    Accessible.name: spokenName
    Accessible.description: Math.round(echo * 100) + "%"
    Accessible.focusable: true
    Accessible.onIncreaseAction: slider.put(slider.echo + slider.stepSize)
    Accessible.onDecreaseAction: slider.put(slider.echo - slider.stepSize)
    Keys.onRightPressed: put(echo + stepSize)
    Keys.onLeftPressed: put(echo - stepSize)
    onValueChanged: {
        if (value === echo)
            return;
        const wanted = value;
        value = Qt.binding(() => echo);
        put(wanted);
    }

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: 6
        anchors.bottomMargin: 6
        radius: 4
        border.width: slider.activeFocus ? 2 : 0
        border.color: Theme.teal
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: slider.ends[0] }
            GradientStop { position: 0.33; color: slider.ends[1] }
            GradientStop { position: 0.67; color: slider.ends[2] }
            GradientStop { position: 1; color: slider.ends[3] }
        }
    }
    Rectangle {
        x: slider.echo * (slider.width - width)
        width: 6
        height: slider.height
        radius: 3
        color: Theme.ink
        border.width: 1
        border.color: Theme.darkInk
    }
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        onPressed: mouse => {
            slider.forceActiveFocus(Qt.MouseFocusReason);
            slider.put(mouse.x / slider.width);
        }
        onPositionChanged: mouse => slider.put(mouse.x / slider.width)
    }

    Hint {
        over: slider
        text: slider.spokenName
    }
}
