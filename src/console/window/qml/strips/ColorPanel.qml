// SPDX-License-Identifier: GPL-3.0-or-later
// A floating chooser for the colour of a strip, or of the master. Each change is the strip's colour at once; it stays open until it is
// closed, and its title moves it.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Window
import Vrel.Console

Popup {
    id: panel

    required property ConsoleModel desk
    property StripViewModel entry: null // null for the master
    property string channelId

    readonly property Item place: parent ? parent.Window.contentItem : null
    readonly property color present: entry ? entry.color : desk.master.color

    function openFor(beside: Item, strip: StripViewModel): void {
        entry = strip;
        channelId = strip ? strip.channelId : "";
        const place = beside.mapToItem(parent, beside.width, 0);
        x = place.x;
        y = place.y;
        open();
        forceActiveFocus(Qt.PopupFocusReason); // a press on the strip that it is open for has taken it
    }

    function take(color: color): void {
        if (entry)
            desk.controls.setColor(channelId, color);
        else
            desk.controls.setMasterColor(color);
    }

    objectName: "colorPanel"
    // Below the header, and inside what is seen of the content, which is drawn larger than it is.
    topMargin: 100
    leftMargin: 4
    rightMargin: place ? Math.max(4, 4 + parent.Window.width - place.width) : 4
    bottomMargin: place ? Math.max(4, 4 + parent.Window.height - place.height) : 4
    width: 248
    padding: 8
    focus: true
    closePolicy: Popup.CloseOnEscape
    onClosed: entry = null

    // Another song has other strips, and what covers the window must not be covered.
    Connections {
        target: panel.desk
        function onIsPanelShownChanged(): void {
            panel.close();
        }
    }
    Connections {
        target: panel.desk.alert
        function onIsShownChanged(): void {
            panel.close();
        }
    }
    Connections {
        target: panel.desk.session
        function onIsLoadingChanged(): void {
            panel.close();
        }
        function onSelectedSongIndexChanged(): void {
            panel.close();
        }
        function onIsLiveChanged(): void {
            panel.close();
        }
    }
    Connections {
        target: panel.desk.strips
        function onCountChanged(): void {
            panel.close();
        }
    }

    MirrorRef {
        entry: panel.entry
    }

    background: Rectangle {
        color: Theme.panel
        radius: Theme.radius
        border.width: 2
        border.color: panel.present
    }

    contentItem: ColumnLayout {
        spacing: 6

        RowLayout {
            Layout.fillWidth: true

            Text {
                Layout.fillWidth: true
                text: panel.entry ? panel.entry.number + " " + panel.entry.name : "MASTER"
                color: Theme.ink
                font.pixelSize: Theme.smallText
                font.bold: true
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text

                MouseArea {
                    property point grip

                    anchors.fill: parent
                    cursorShape: Qt.SizeAllCursor
                    onPressed: mouse => grip = Qt.point(mouse.x, mouse.y)
                    onPositionChanged: mouse => {
                        panel.x += mouse.x - grip.x;
                        panel.y += mouse.y - grip.y;
                    }
                }
            }
            PushButton {
                objectName: "colorPanelClose"
                Layout.preferredWidth: 32
                Layout.preferredHeight: 28
                text: "\u2715"
                spokenName: panel.desk.hints.close
                hint: panel.desk.hints.close
                textSize: Theme.smallText
                onClicked: panel.close()
            }
        }

        Grid {
            columns: 7
            spacing: 3

            Repeater {
                model: 21

                ColorSquare {
                    required property int index

                    objectName: "swatch" + index
                    width: 30
                    height: 30
                    color: Qt.hsva((index % 7) / 7, index < 14 ? 1 : 0.55, index < 7 ? 1 : index < 14 ? 0.65 : 0.95, 1)
                    spokenName: color.toString()
                    hint: panel.desk.hints.swatch
                    onActed: panel.take(color)
                }
            }
        }

        ColorSlider {
            objectName: "hue"
            Layout.fillWidth: true
            spokenName: panel.desk.hints.hue
            echo: Math.max(0, panel.present.hsvHue)
            ends: ["#ff0000", "#00ff00", "#0000ff", "#ff0000"]
            onMoved: value => panel.take(Qt.hsva(value, panel.present.hsvSaturation, panel.present.hsvValue, 1))
        }
        ColorSlider {
            objectName: "saturation"
            Layout.fillWidth: true
            spokenName: panel.desk.hints.saturation
            echo: panel.present.hsvSaturation
            ends: ["#808080", "#808080", "#808080", Qt.hsva(Math.max(0, panel.present.hsvHue), 1, 1, 1)]
            onMoved: value => panel.take(Qt.hsva(Math.max(0, panel.present.hsvHue), value, panel.present.hsvValue, 1))
        }
        ColorSlider {
            objectName: "brightness"
            Layout.fillWidth: true
            spokenName: panel.desk.hints.brightness
            echo: panel.present.hsvValue
            ends: ["#000000", "#000000", "#000000", "#ffffff"]
            onMoved: value => panel.take(Qt.hsva(Math.max(0, panel.present.hsvHue), panel.present.hsvSaturation, value, 1))
        }
    }
}
