// SPDX-License-Identifier: GPL-3.0-or-later
// In the line of problems, when a setlist could not be opened: opens the newest copy of it that can be.
import QtQuick
import Vrel.Console

PushButton {
    required property ConsoleModel desk

    objectName: "openNewestCopy"
    visible: desk.session.canOpenNewestCopy
    text: desk.texts.openNewestCopy
    hint: desk.hints.openNewestCopy
    edge: Theme.warning
    padding: 2
    textSize: Theme.smallText
    onClicked: desk.commands.openNewestCopy()
}
