// SPDX-License-Identifier: GPL-3.0-or-later
// Lies over a control that MIDI Learn can tie to hardware: shows that it can be picked, and picks it. Takes no press itself: the
// control asks claims() first, so that a finger, a key and assistive technology all do the same.
import QtQuick
import Vrel.Console

Item {
    id: target

    required property ConsoleModel desk
    required property int kind // a LearnKind
    property int channelIndex: -1

    readonly property bool isLearning: desk.session.isLearning
    readonly property bool isPending: isLearning && desk.session.pendingLearnKind === kind && desk.session.pendingLearnChannel === channelIndex

    // True when learn mode took the press; the control must then leave its own work undone.
    function claims(): bool {
        if (isLearning)
            desk.commands.selectLearnTarget(kind, channelIndex);
        return isLearning;
    }

    anchors.fill: parent
    z: 10

    MidiLearnableModifier {
        anchors.fill: parent
        anchors.margins: -inset
        isEnabled: target.isLearning
        isPending: target.isPending
    }
}
