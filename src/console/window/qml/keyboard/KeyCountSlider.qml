// SPDX-License-Identifier: GPL-3.0-or-later
// The number of keys, black ones included.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

Slider {
    id: slider

    required property ConsoleModel desk

    readonly property int echo: desk.session.keyboardKeyCount
    readonly property real minimumValue: from
    readonly property real maximumValue: to
    property bool isReady

    objectName: "keyCountSlider"
    from: 12
    to: 88
    stepSize: 1
    snapMode: Slider.SnapAlways
    value: echo
    padding: 0
    // Also where assistive technology has moved it.
    onValueChanged: if (isReady && Math.round(value) !== echo) desk.commands.setKeyCount(Math.round(value))
    Component.onCompleted: isReady = true

    Accessible.role: Accessible.Slider
    Accessible.name: desk.texts.keyCount
    Accessible.description: echo

    Hint {
        over: slider
        text: slider.desk.hints.keyCount
    }

    background: Rectangle {
        y: slider.height / 2 - height / 2
        width: slider.width
        height: 6
        radius: 3
        color: Theme.faderTrack
        border.width: 1
        border.color: Theme.line

        Rectangle {
            width: slider.visualPosition * parent.width
            height: parent.height
            radius: 3
            color: Theme.quietInk
        }
    }
    handle: Rectangle {
        x: slider.visualPosition * (slider.width - width)
        y: slider.height / 2 - height / 2
        width: 12
        height: 22
        radius: 3
        color: slider.pressed ? Theme.ink : Theme.line
        border.width: slider.visualFocus ? 3 : 1
        border.color: slider.visualFocus ? Theme.teal : Theme.quietInk
    }
}
