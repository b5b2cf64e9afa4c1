// SPDX-License-Identifier: GPL-3.0-or-later
// Lies over a control that MIDI Learn can tie to hardware: shows that it can be picked, and picks it. Takes no press itself: the
// control asks claims() first, so that a finger, a key and assistive technology are all answered alike.
import QtQuick
import Vrel.Console

Item {
    id: target

    required property ConsoleModel desk
    required property string word
    property int channelIndex: -1

    readonly property bool isLearning: desk.session.isLearning
    readonly property bool isPending: isLearning && desk.session.pendingLearnTarget === (channelIndex < 0 ? word : word + "/" + channelIndex)

    // True when learn mode took the press; the control must then leave its own work undone.
    function claims(): bool {
        if (isLearning)
            desk.commands.selectLearnTarget(word, channelIndex);
        return isLearning;
    }

    anchors.fill: parent
    z: 10

    LearnFrame {
        anchors.fill: parent
        anchors.margins: -inset
        isLearning: target.isLearning
        isPending: target.isPending
    }
}
