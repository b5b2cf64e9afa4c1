// SPDX-License-Identifier: GPL-3.0-or-later
// The sound of a file, with the beats from the entry on, and its two points to drag. Wheel and pinch zoom; the wheel with Shift, and
// one that turns sideways, scrolls.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Item {
    id: wave

    required property ConsoleModel desk
    required property TrackViewModel track

    readonly property TrackCommands acts: desk.trackCommands
    readonly property real wheelStep: 120 // of a wheel with notches

    function placeOf(seconds: real): real {
        return track.viewLength > 0 ? (seconds - track.viewFrom) / track.viewLength * width : 0;
    }

    clip: true

    Accessible.role: Accessible.Graphic
    Accessible.name: track.fileName
    Accessible.description: track.durationText + ". " + desk.hints.trackWave

    Rectangle {
        anchors.fill: parent
        color: Theme.well
        radius: Theme.radius
    }
    Rectangle {
        objectName: "trackRange"
        x: wave.placeOf(wave.track.startTime)
        width: wave.placeOf(wave.track.endTime) - x
        height: parent.height
        color: Theme.faded(wave.track.color, 0.16)
    }
    Waveform {
        objectName: "trackColumns"
        anchors.fill: parent
        columns: wave.track.columns
        beats: wave.track.beats
        viewFrom: wave.track.viewFrom
        viewLength: wave.track.viewLength
        accent: wave.track.color
    }
    Rectangle {
        objectName: "trackPlayhead"
        visible: wave.track.isPreviewing
        x: wave.placeOf(wave.track.playheadTime) - width / 2
        width: 2
        height: parent.height
        color: Theme.ink
    }

    MouseArea {
        id: touch

        anchors.fill: parent
        preventStealing: true
        enabled: wave.track.duration > 0
        onPressed: mouse => {
            const nearest = Math.abs(mouse.x - entry.at) <= Math.abs(mouse.x - exit.at) ? entry : exit;
            nearest.forceActiveFocus(Qt.MouseFocusReason); // the keys move it from here on
            wave.acts.beginDrag(mouse.x / width);
        }
        onPositionChanged: mouse => wave.acts.drag(width > 1 ? mouse.x / width : mouse.x)
        onReleased: wave.acts.endDrag()
        onCanceled: wave.acts.endDrag()
        onWheel: wheel => {
            const sideways = wheel.angleDelta.x !== 0 || wheel.modifiers & Qt.ShiftModifier;
            const turned = (wheel.angleDelta.y !== 0 ? wheel.angleDelta.y : wheel.angleDelta.x) / wave.wheelStep;
            if (sideways)
                wave.acts.scroll(-turned / 8);
            else
                wave.acts.zoom(Math.pow(1.25, turned), wheel.x / width);
        }
    }
    PinchHandler {
        id: pinch

        property real zoomed: 1

        target: null
        enabled: wave.track.duration > 0
        onActiveChanged: zoomed = 1
        onActiveScaleChanged: {
            wave.acts.zoom(activeScale / zoomed, centroid.position.x / wave.width);
            zoomed = activeScale;
        }
    }
    Hint {
        over: wave
        text: touch.pressed || !touch.enabled || entry.hasHint || exit.hasHint ? "" : wave.desk.hints.trackWave
    }

    TrackHandle {
        id: entry

        objectName: "trackEntry"
        desk: wave.desk
        track: wave.track
        isEntry: true
        label: wave.desk.texts.playbackEntry
        valueText: wave.track.startText
        hint: wave.desk.hints.trackEntry
        echo: wave.track.startTime
        at: wave.placeOf(echo)
    }
    TrackHandle {
        id: exit

        objectName: "trackExit"
        desk: wave.desk
        track: wave.track
        isEntry: false
        label: wave.desk.texts.playbackExit
        valueText: wave.track.endText
        hint: wave.desk.hints.trackExit
        echo: wave.track.endTime
        at: wave.placeOf(echo)
    }
}
