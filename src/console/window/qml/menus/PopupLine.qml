// SPDX-License-Identifier: GPL-3.0-or-later
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

MenuSeparator {
    padding: 4
    contentItem: Rectangle {
        implicitHeight: 1
        color: Theme.faded(Theme.quietInk, 0.4)
    }
}
