// SPDX-License-Identifier: GPL-3.0-or-later
// A number of the page for changing songs, with its name.
import QtQuick
import QtQuick.Layouts
import Vrel.Console

RowLayout {
    id: setting

    required property string title
    required property string valueText
    property string hint
    property bool mayEdit

    signal moved(int by)

    Layout.fillWidth: true
    spacing: Theme.gap

    Text {
        Layout.fillWidth: true
        text: setting.title
        color: Theme.ink
        font.pixelSize: Theme.smallText
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
    NudgeControl {
        objectName: setting.objectName
        Layout.minimumWidth: 132
        spokenName: setting.title
        valueText: setting.valueText
        hint: setting.hint
        canDecrement: setting.mayEdit
        canIncrement: setting.mayEdit
        onDecremented: setting.moved(-1)
        onIncremented: setting.moved(1)
    }
}
