// SPDX-License-Identifier: GPL-3.0-or-later
// The entry or the exit point on a waveform. The pointer takes it by way of the waveform; the arrow keys move it, with Ctrl finely and
// with Shift far.
import QtQuick
import Vrel.Console

Item {
    id: handle

    required property ConsoleModel desk
    required property TrackViewModel track
    required property bool isEntry
    required property string label
    required property string valueText
    required property string hint
    required property real echo // seconds, of the logic
    required property real at // of its waveform
    property real value: echo // what assistive technology reads and writes

    readonly property real minimumValue: 0
    readonly property real maximumValue: track.duration
    readonly property real stepSize: 0.01
    readonly property bool hasHint: bubble.isShown

    function step(steps: int, size: int): void {
        desk.trackCommands.nudge(isEntry, steps, size);
    }

    function takeKey(event: KeyEvent, steps: int): void {
        step(steps, event.modifiers & Qt.ControlModifier ? -1 : event.modifiers & Qt.ShiftModifier ? 1 : 0);
    }

    x: at - width / 2
    y: 28
    width: 14
    height: 14
    visible: track.duration > 0 && at >= -1 && at <= parent.width + 1
    activeFocusOnTab: true

    Accessible.role: Accessible.Slider
    Accessible.name: label
    Accessible.description: valueText + ". " + hint
    Accessible.focusable: true
    Accessible.onIncreaseAction: handle.step(1, 0)
    Accessible.onDecreaseAction: handle.step(-1, 0)

    Keys.onLeftPressed: event => takeKey(event, -1)
    Keys.onRightPressed: event => takeKey(event, 1)
    Keys.onDownPressed: event => takeKey(event, -1)
    Keys.onUpPressed: event => takeKey(event, 1)
    onValueChanged: {
        if (value === echo)
            return;
        const wanted = value;
        value = Qt.binding(() => echo);
        desk.trackCommands.movePoint(isEntry, wanted);
    }

    Rectangle {
        x: (handle.width - width) / 2
        y: 0
        width: 2
        height: handle.parent.height - handle.y
        color: handle.track.color
    }
    Rectangle {
        anchors.fill: parent
        color: handle.track.color
        radius: 3
        border.width: handle.activeFocus ? 3 : 1
        border.color: handle.activeFocus ? Theme.teal : Theme.ink
    }
    Text {
        // Beside its line, so that the words of two near points do not lie on each other.
        x: Math.max(2 - handle.x, Math.min(handle.parent.width - 2 - width - handle.x, handle.isEntry ? handle.width / 2 + 4 - (handle.at > handle.parent.width / 2 ? width + 8 : 0) : handle.width / 2 - width - 4))
        y: -24
        text: handle.label + " " + handle.valueText
        color: Theme.ink
        font.pixelSize: Theme.tinyText
        Accessible.ignored: true
    }

    Hint {
        id: bubble

        over: handle
        text: handle.hint
    }
}
