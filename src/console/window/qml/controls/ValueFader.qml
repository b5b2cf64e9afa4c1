// SPDX-License-Identifier: GPL-3.0-or-later
// A level from 0 to 1. The position of the finger is the level: no relative drag, no threshold. While it is held it shows the
// finger, not the echo of the logic; several faders can be held at once.
import QtQuick
import Vrel.Console

Item {
    id: fader

    required property string spokenName
    property real echo // of the logic
    property real value: echo // what assistive technology reads and writes
    property string valueText
    property color color: Theme.teal
    property LearnTarget learn: null
    property string hint

    readonly property bool isHeld: touch.isHeld
    readonly property real shownValue: isHeld || settle.running ? touch.heldValue : echo
    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property real stepSize: 0.02

    signal moved(real value)

    function put(level: real): void {
        const limited = Math.min(1, Math.max(0, level));
        touch.heldValue = limited;
        settle.restart();
        moved(limited);
    }

    // Learn mode takes a key as it takes a press.
    function step(by: real): void {
        if (!learn || !learn.claims())
            put(shownValue + by);
    }

    implicitWidth: Theme.touch
    implicitHeight: 100
    activeFocusOnTab: true

    Accessible.role: Accessible.Slider
    Accessible.name: spokenName
    Accessible.description: valueText + ". " + hint
    Accessible.focusable: true
    Accessible.onIncreaseAction: fader.step(fader.stepSize)
    Accessible.onDecreaseAction: fader.step(-fader.stepSize)
    Accessible.onPressAction: if (fader.learn) fader.learn.claims()

    Keys.onUpPressed: step(stepSize)
    Keys.onDownPressed: step(-stepSize)
    onEchoChanged: if (Math.abs(echo - touch.heldValue) < 0.001) settle.stop()
    onValueChanged: {
        if (value === echo)
            return;
        const wanted = value;
        value = Qt.binding(() => echo);
        step(wanted - shownValue);
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.faderTrack
        border.width: fader.activeFocus ? 2 : 1
        border.color: fader.activeFocus ? Theme.teal : Theme.faderEdge
        radius: 3
    }

    Rectangle {
        anchors {
            left: parent.left
            right: parent.right
            bottom: parent.bottom
            margins: 2
        }
        height: Math.max(0, fader.shownValue * (fader.height - 4))
        color: Theme.faded(fader.color, 0.75)
        radius: 2
    }

    Field {
        x: 0
        y: Math.min(fader.height - height, Math.max(0, (1 - fader.shownValue) * fader.height - height / 2))
        width: fader.width
        height: 6
        radius: 2
        color: fader.isHeld ? Theme.ink : Qt.lighter(fader.color, 1.5)
    }

    HoverHandler {
        id: hover
    }

    Rectangle {
        objectName: fader.objectName + "Reading"
        anchors.centerIn: parent
        z: 5
        visible: hover.hovered
        width: reading.width + 4
        height: reading.height + 2
        color: Theme.faded(Theme.darkInk, 0.8)

        Text {
            id: reading

            anchors.centerIn: parent
            text: fader.valueText
            color: "white"
            font.pixelSize: Theme.tinyText
            font.letterSpacing: -0.5
            Accessible.ignored: true
        }
    }

    MultiPointTouchArea {
        id: touch

        property bool isHeld
        property real heldValue

        function follow(): void {
            if (isHeld && height > 0)
                fader.put(Laws.faderPosition(finger.y, height, fader.echo));
        }

        anchors.fill: parent
        maximumTouchPoints: 1
        touchPoints: TouchPoint {
            id: finger
        }
        onPressed: {
            fader.forceActiveFocus(Qt.MouseFocusReason);
            if (fader.learn && fader.learn.claims())
                return;
            heldValue = fader.echo;
            isHeld = true;
            follow();
        }
        onUpdated: follow()
        onReleased: isHeld = false
        onCanceled: isHeld = false
    }

    // What was put last stays shown until its echo comes.
    Timer {
        id: settle

        interval: 400
    }

    Hint {
        over: fader
        text: fader.isHeld ? "" : fader.hint
    }
}
