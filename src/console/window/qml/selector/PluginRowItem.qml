// SPDX-License-Identifier: GPL-3.0-or-later
// One plug-in of a list: its name, framed while the keys are on it, and marked when the strip plays it.
import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

ItemDelegate { // a button would be one to assistive technology, whatever its role says
    id: row

    required property string name
    required property string manufacturer
    property string hint
    property bool isLoaded
    property bool isCurrent
    property bool isOffered: true
    required property bool isFavourite
    required property TextsViewModel texts
    property bool canTry
    property bool isTried

    signal favoured
    signal tried

    padding: 0
    implicitHeight: Theme.touch
    focusPolicy: Qt.NoFocus
    enabled: isOffered
    opacity: isOffered ? 1 : 0.5

    Accessible.name: name
    Accessible.description: manufacturer
    Accessible.selectable: true
    Accessible.selected: isCurrent
    Accessible.onPressAction: row.clicked()

    background: Field {
        color: row.down ? Qt.lighter(Theme.raised, 1.35) : row.isCurrent || row.hovered ? Theme.raised : Theme.well
        border.width: row.isCurrent ? 2 : 0
        border.color: Theme.teal
    }

    contentItem: Text {
        leftPadding: 12
        rightPadding: marks.width + 8
        text: row.isLoaded ? "\u25cf  " + row.name : row.name
        color: row.isLoaded ? Theme.running : Theme.ink
        font.pixelSize: Theme.bodyText
        font.bold: row.isLoaded
        fontSizeMode: Text.Fit
        minimumPixelSize: 12
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }

    Hint {
        over: row
        text: row.hint
    }

    Row {
        id: marks

        anchors.right: parent.right
        height: parent.height

        PushButton {
            objectName: row.objectName + "Star"
            height: parent.height
            text: row.isFavourite ? "\u2605" : "\u2606"
            spokenName: hint + " " + row.name
            hint: row.isFavourite ? row.texts.removeFavourite : row.texts.addFavourite
            Accessible.checkable: true
            Accessible.checked: row.isFavourite
            focusPolicy: Qt.NoFocus
            fill: "transparent"
            edge: "transparent"
            ink: row.isFavourite ? Theme.warning : Theme.quietInk
            onClicked: row.favoured()
        }
        PushButton {
            objectName: row.objectName + "Ear"
            height: parent.height
            visible: row.canTry
            text: "\u266a"
            textSize: Theme.strongText
            spokenName: row.name + ": " + row.texts.tryInstrument
            hint: row.texts.tryInstrument
            Accessible.checkable: true
            Accessible.checked: row.isTried
            focusPolicy: Qt.NoFocus
            fill: row.isTried ? Theme.teal : "transparent"
            edge: row.isTried ? Theme.teal : "transparent"
            ink: row.isTried ? Theme.darkInk : Theme.quietInk
            onClicked: row.tried()
        }
    }
}
