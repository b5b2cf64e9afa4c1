// SPDX-License-Identifier: GPL-3.0-or-later
// A fader with its meter beside it and its reading under it.
import QtQuick
import Vrel.Console

Item {
    id: column

    required property ConsoleModel desk
    required property string faderName
    required property string spokenName
    required property string stripName
    required property string channelId
    required property int learnKind
    property int learnIndex: -1
    property real value
    property string valueText
    property color color

    signal moved(real level)
    signal held(bool isHeld)

    implicitHeight: 130

    Row {
        id: levels

        anchors.horizontalCenter: parent.horizontalCenter
        height: parent.height - reading.height - 4
        spacing: 5

        ValueFader {
            id: fader

            objectName: column.faderName
            width: Math.min(54, column.width - 27)
            height: parent.height
            spokenName: column.spokenName
            echo: column.value
            valueText: column.valueText
            color: column.color
            learn: learnTarget
            hint: column.desk.hints.fader
            onMoved: level => column.moved(level)
            onIsHeldChanged: column.held(fader.isHeld)
            Component.onDestruction: if (fader.isHeld) column.held(false)

            LearnTarget {
                id: learnTarget

                desk: column.desk
                kind: column.learnKind
                channelIndex: column.learnIndex
            }
        }

        LevelMeter {
            id: meter

            objectName: column.faderName + "Meter"
            readonly property int value: decibels
            readonly property int minimumValue: -48
            readonly property int maximumValue: 0

            width: 20
            height: levels.height
            board: column.desk.meters
            channelId: column.channelId
            Accessible.role: Accessible.ProgressBar
            Accessible.name: column.desk.texts.level + " " + column.stripName
            Accessible.description: meter.decibels + " dB"
            Accessible.readOnly: true

            Hint {
                over: meter
                text: column.desk.hints.meter
            }
        }
    }

    Text {
        id: reading

        anchors.bottom: parent.bottom
        width: parent.width
        text: column.valueText
        color: Theme.readingInk
        font.pixelSize: Theme.isLive ? Theme.bodyText : Theme.tinyText
        font.bold: true
        font.letterSpacing: -0.5
        horizontalAlignment: Text.AlignHCenter
    }
}
