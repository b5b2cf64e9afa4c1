// SPDX-License-Identifier: GPL-3.0-or-later
// A knob from 0 to 1. Dragging upwards or to the right raises it; a double click takes its default.
import QtQuick
import Vrel.Console

Item {
    id: knob

    required property ConsoleModel desk
    required property string label
    required property string spokenName
    required property int learnKind
    property int learnIndex: -1
    property real echo // of the logic
    property real value: echo // what assistive technology reads and writes
    property string valueText
    property color color: Theme.teal
    property bool isCentered
    property string hint

    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property real stepSize: 0.02
    // While it is held it shows the hand, not the echo of the logic.
    readonly property real shownValue: touch.isHeld || settle.running ? touch.heldValue : echo

    signal moved(real value)
    signal reset

    function put(wanted: real): void {
        touch.heldValue = Math.min(1, Math.max(0, wanted));
        settle.restart();
        moved(wanted);
    }

    function step(by: real): void {
        if (!learn.claims())
            put(shownValue + by);
    }

    implicitWidth: 56
    implicitHeight: 64
    activeFocusOnTab: true

    Accessible.role: Accessible.Dial
    Accessible.name: spokenName
    Accessible.description: valueText + ". " + hint
    Accessible.focusable: true
    Accessible.onIncreaseAction: knob.step(knob.stepSize)
    Accessible.onDecreaseAction: knob.step(-knob.stepSize)
    Accessible.onPressAction: learn.claims()

    Keys.onUpPressed: step(stepSize)
    Keys.onRightPressed: step(stepSize)
    Keys.onDownPressed: step(-stepSize)
    Keys.onLeftPressed: step(-stepSize)
    Keys.onDeletePressed: reset()
    onEchoChanged: if (Math.abs(echo - touch.heldValue) < 0.001) settle.stop()
    onValueChanged: {
        if (value === echo)
            return;
        const wanted = value;
        value = Qt.binding(() => echo);
        step(wanted - shownValue);
    }

    Text {
        id: caption

        width: parent.width
        text: knob.label
        color: Theme.knobInk
        font.pixelSize: Theme.tinyText
        font.bold: true
        font.letterSpacing: -0.5
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }

    KnobFace {
        id: face

        anchors.horizontalCenter: parent.horizontalCenter
        y: 14
        width: 36
        height: 36
        value: knob.shownValue
        isCentered: knob.isCentered
        isLit: hover.hovered || knob.activeFocus
        color: knob.color
    }

    Text {
        y: 49
        width: parent.width
        text: knob.valueText
        color: Theme.readingInk
        font.pixelSize: Theme.tinyText
        font.letterSpacing: -0.6
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -1
        visible: knob.activeFocus
        color: "transparent"
        radius: 4
        border.width: 2
        border.color: Theme.teal
    }

    HoverHandler {
        id: hover
    }

    MouseArea {
        id: touch

        property bool isHeld
        property real heldValue
        property real startValue
        property point startedAt

        anchors.fill: parent
        preventStealing: true
        onPressed: mouse => {
            knob.forceActiveFocus(Qt.MouseFocusReason);
            if (learn.claims())
                return;
            startValue = knob.shownValue;
            heldValue = startValue;
            startedAt = Qt.point(mouse.x, mouse.y);
            isHeld = true;
        }
        onPositionChanged: mouse => {
            if (isHeld)
                knob.put(Laws.draggedKnob(startValue, mouse.x - startedAt.x, mouse.y - startedAt.y));
        }
        onReleased: isHeld = false
        onCanceled: isHeld = false
        onDoubleClicked: {
            if (!knob.desk.session.isLearning) {
                isHeld = false;
                settle.stop();
                knob.reset();
            }
        }
    }

    // What was put last stays shown until its echo comes.
    Timer {
        id: settle

        interval: 400
    }

    LearnTarget {
        id: learn

        desk: knob.desk
        kind: knob.learnKind
        channelIndex: knob.learnIndex
    }

    Hint {
        over: knob
        text: knob.hint
    }
}
