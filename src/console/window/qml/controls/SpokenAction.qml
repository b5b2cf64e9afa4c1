// SPDX-License-Identifier: GPL-3.0-or-later
// An entry of a context menu for assistive technology, which opens none: a button that is not seen.
import QtQuick

Item {
    id: action

    required property string name
    required property string hint
    property bool isOffered: true

    signal acted

    width: parent.width
    height: parent.height
    enabled: isOffered

    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: hint
    Accessible.onPressAction: if (isOffered) acted()
}
