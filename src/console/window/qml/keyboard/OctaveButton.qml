// SPDX-License-Identifier: GPL-3.0-or-later
// Moves the keyboard by an octave.
import QtQuick.Layouts
import Vrel.Console

PushButton {
    Layout.preferredWidth: 25
    Layout.preferredHeight: 26
    padding: 0
    textSize: 16
}
