// SPDX-License-Identifier: GPL-3.0-or-later
// The strips whose instruments have failed, wherever the row of strips is scrolled to.
pragma ComponentBehavior: Bound

import QtQuick
import Vrel.Console

Row {
    id: signs

    required property ConsoleModel desk

    clip: true
    spacing: Theme.gap

    Repeater {
        model: signs.desk.strips

        FailureSign {
            height: signs.height
            desk: signs.desk
            onClicked: signs.desk.commands.selectStrip(entry.channelId)
        }
    }
}
