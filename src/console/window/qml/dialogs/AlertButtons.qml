// SPDX-License-Identifier: GPL-3.0-or-later
// The answers of an alert in their order; the first one is the default. Tab cycles through them.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

GridLayout {
    id: row

    required property ConsoleModel desk
    required property list<string> words

    signal chosen(int button)

    columns: words.length > 3 ? 1 : 3
    columnSpacing: 12
    rowSpacing: 12

    Repeater {
        id: buttons

        model: row.words

        PushButton {
            required property int index
            required property string modelData

            readonly property Item next: buttons.count > 0 ? buttons.itemAt((index + 1) % buttons.count) : null
            readonly property Item previous: buttons.count > 0 ? buttons.itemAt((index + buttons.count - 1) % buttons.count) : null

            objectName: "alertButton" + index
            Layout.fillWidth: true
            Layout.preferredWidth: 100
            Layout.preferredHeight: 60
            text: modelData
            hint: index === 0 ? row.desk.hints.firstAnswer : row.desk.hints.otherAnswer
            textSize: 20
            fill: index === 0 ? Theme.accent : Theme.raised
            focus: index === 0
            KeyNavigation.tab: next
            KeyNavigation.backtab: previous
            KeyNavigation.left: previous
            KeyNavigation.right: next
            // The one in the frame that the keys have moved to; without any, the box answers with the first.
            Keys.onReturnPressed: row.chosen(index)
            Keys.onEnterPressed: row.chosen(index)
            onClicked: row.chosen(index)
        }
    }
}
