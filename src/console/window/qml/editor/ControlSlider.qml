// SPDX-License-Identifier: GPL-3.0-or-later
// The travel of a control as a bar. A drag moves it, slowly with Shift, and so do the arrows and, once it has the focus, the wheel; a
// double click takes its default. A meter is the same bar, which nothing moves.
import QtQuick
import Vrel.Console

Item {
    id: slider

    required property ControlRows laws
    required property int index
    required property real echo // of the plug-in
    required property string spokenName
    required property string valueText
    property string hint
    property bool isMeter
    property real value: position(echo) // what assistive technology reads and writes, 0 to 1

    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property real stepSize: 0.01
    // While it is held it shows the hand, not the echo of the plug-in.
    readonly property bool isHeld: touch.isHeld || settle.running
    readonly property real heldValue: laws?.valueAt(index, touch.heldPosition) ?? 0
    readonly property real shownPosition: position(isHeld ? heldValue : echo)

    signal moved(real value)
    signal reset

    // The laws go with their list, before its items.
    function position(of: real): real {
        return laws?.position(index, of) ?? 0;
    }

    function put(wanted: real): void {
        touch.heldPosition = position(wanted);
        settle.restart();
        moved(wanted);
    }

    function step(steps: int, isFine: bool): void {
        if (!isMeter)
            put(laws.stepped(index, isHeld ? heldValue : echo, steps, isFine));
    }

    activeFocusOnTab: !isMeter

    Accessible.role: isMeter ? Accessible.ProgressBar : Accessible.Slider
    Accessible.name: spokenName
    Accessible.description: valueText + ". " + hint
    Accessible.focusable: !isMeter
    Accessible.onIncreaseAction: slider.step(1, false)
    Accessible.onDecreaseAction: slider.step(-1, false)

    Keys.onUpPressed: event => step(1, (event.modifiers & Qt.ShiftModifier) !== 0)
    Keys.onRightPressed: event => step(1, (event.modifiers & Qt.ShiftModifier) !== 0)
    Keys.onDownPressed: event => step(-1, (event.modifiers & Qt.ShiftModifier) !== 0)
    Keys.onLeftPressed: event => step(-1, (event.modifiers & Qt.ShiftModifier) !== 0)
    Keys.onDeletePressed: reset()
    onValueChanged: {
        if (value === position(echo))
            return;
        const wanted = value;
        value = Qt.binding(() => position(echo));
        if (!isMeter)
            put(laws.valueAt(index, wanted));
    }

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: slider.isMeter ? 8 : 14
        radius: 4
        color: Theme.well
        border.width: slider.activeFocus ? 2 : 1
        border.color: slider.activeFocus ? Theme.teal : Theme.line

        Rectangle {
            width: parent.width * slider.shownPosition
            height: parent.height
            radius: parent.radius
            color: slider.isMeter ? Theme.running : Theme.teal
        }
    }

    MouseArea {
        id: touch

        property bool isHeld
        property real heldPosition
        property real startPosition
        property real startedAt

        function follow(mouse: MouseEvent): void {
            heldPosition = Laws.draggedControl(startPosition, mouse.x - startedAt, width, (mouse.modifiers & Qt.ShiftModifier) !== 0);
        }

        anchors.fill: parent
        enabled: !slider.isMeter
        preventStealing: true
        onPressed: mouse => {
            slider.forceActiveFocus(Qt.MouseFocusReason);
            startPosition = slider.shownPosition;
            heldPosition = startPosition;
            startedAt = mouse.x;
            isHeld = true;
        }
        onPositionChanged: mouse => {
            if (!isHeld)
                return;
            follow(mouse);
            if (!slider.laws.changesAtEndOfDrag(slider.index))
                slider.moved(slider.heldValue);
        }
        onReleased: {
            if (heldPosition !== startPosition)
                slider.put(slider.heldValue);
            isHeld = false;
        }
        onCanceled: isHeld = false
        onDoubleClicked: {
            isHeld = false;
            settle.stop();
            slider.reset();
        }
        // Without the focus the wheel scrolls the list: it must not turn what comes under the pointer.
        onWheel: wheel => {
            wheel.accepted = slider.activeFocus && wheel.angleDelta.y !== 0;
            if (wheel.accepted)
                slider.step(wheel.angleDelta.y > 0 ? 1 : -1, (wheel.modifiers & Qt.ShiftModifier) !== 0);
        }
    }

    // What was put last stays shown until its echo comes.
    Timer {
        id: settle

        interval: 300
    }

    Hint {
        over: slider
        text: touch.pressed ? "" : slider.hint
    }
}
