// SPDX-License-Identifier: GPL-3.0-or-later
// Says that nothing is heard because the sound device is missing, and which one is waited for.
import QtQuick
import Vrel.Console

Column {
    id: label

    required property ConsoleModel desk

    readonly property string awaited: desk.session.awaitedAudioOutput
    readonly property string missingWords: desk.session.isAudioOutputMissing ? desk.texts.audioOutputMissing : ""
    readonly property string awaitedWords: awaited === "" ? "" : desk.texts.audioOutputAwaited + " " + awaited
    readonly property string spokenWords: (missingWords + " " + awaitedWords).trim()

    objectName: "audioOutput"
    visible: spokenWords !== ""
    Accessible.role: Accessible.AlertMessage
    Accessible.name: spokenWords
    Accessible.description: desk.hints.audioOutputMissing

    Text {
        width: label.width
        visible: text !== ""
        text: label.missingWords
        color: Theme.warning
        font.pixelSize: Theme.bodyText
        font.bold: true
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    Text {
        width: label.width
        visible: text !== ""
        text: label.awaitedWords
        color: Theme.warning
        font.pixelSize: Theme.smallText
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    Hint {
        over: label
        text: label.desk.hints.audioOutputMissing
    }
}
