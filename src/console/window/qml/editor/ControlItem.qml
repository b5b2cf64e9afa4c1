// SPDX-License-Identifier: GPL-3.0-or-later
// One control of a plug-in: its name, what moves it, and its value.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Vrel.Console

Item {
    id: row

    required property ConsoleModel desk
    required property string editorId
    required property ControlRows laws
    required property int index
    required property int control
    required property string name
    required property int look
    required property real echo // of the plug-in
    required property string words // of a control that is text, or the name of its file
    required property bool mayChooseFile
    property bool isPending // waits for its hardware

    readonly property bool isLearning: desk.session.isLearning && (laws?.isLearnable(index) ?? false)
    readonly property bool isTyped: look === ControlRows.Words || look === ControlRows.Number || look === ControlRows.Reading

    // The laws go with their list, before its items.
    readonly property bool isOn: (laws?.position(index, echo) ?? 0) > 0.5
    readonly property string valueText: (laws?.isText(index) ?? false) ? words : laws?.text(index, slider.isHeld ? slider.heldValue : echo) ?? ""

    function set(value: real): void {
        desk.plugins.set(editorId, control, value);
    }

    Component.onCompleted: {
        if (look === ControlRows.Choice)
            choice.setSource(Qt.resolvedUrl("ControlChoice.qml"), {
                objectName: objectName + "Choice",
                spokenName: name,
                hint: name,
                words: laws.choices(index),
                echo: laws.choice(index, echo)
            });
    }

    objectName: "control" + control
    height: Theme.touch

    RowLayout {
        anchors.fill: parent
        spacing: Theme.gap
        enabled: !row.isLearning // neither pointer nor keys move it meanwhile

        Text {
            Layout.preferredWidth: row.width * 0.32
            Layout.fillHeight: true
            text: row.name
            color: Theme.ink
            font.pixelSize: Theme.bodyText
            fontSizeMode: Text.Fit
            minimumPixelSize: Theme.tinyText
            wrapMode: Text.Wrap
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
            Accessible.ignored: true
        }

        ControlSlider {
            id: slider

            objectName: row.objectName + "Slider"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: row.look === ControlRows.Slider || row.look === ControlRows.Meter
            isMeter: row.look === ControlRows.Meter
            laws: row.laws
            index: row.index
            echo: row.echo
            spokenName: row.name
            valueText: row.valueText
            hint: isMeter ? row.name : row.desk.hints.pluginControl
            onMoved: value => row.set(value)
            onReset: row.desk.plugins.reset(row.editorId, row.control)
        }

        ControlButton {
            objectName: row.objectName + (row.look === ControlRows.Toggle ? "Toggle" : row.look === ControlRows.File ? "File" : "Trigger")
            Layout.preferredWidth: 90
            Layout.fillWidth: row.look === ControlRows.File
            Layout.fillHeight: true
            visible: row.look === ControlRows.Toggle || row.look === ControlRows.Trigger || row.look === ControlRows.File
            desk: row.desk
            look: row.look
            spokenName: row.name
            isOn: row.isOn
            file: row.words
            isOffered: look !== ControlRows.File || row.mayChooseFile
            onFlipped: row.set(row.laws.valueAt(row.index, row.isOn ? 0 : 1))
            onTriggered: row.desk.plugins.trigger(row.editorId, row.control)
            onChosen: row.desk.plugins.chooseFile(row.editorId, row.control)
        }

        Loader {
            id: choice

            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: row.look === ControlRows.Choice
            onLoaded: {
                const picker = item as ControlChoice;
                picker.echo = Qt.binding(() => row.laws?.choice(row.index, row.echo) ?? 0);
                picker.chosen.connect(at => row.set(row.laws.choiceValue(row.index, at)));
            }
        }

        Item {
            Layout.fillWidth: true
            visible: row.look === ControlRows.Toggle || row.look === ControlRows.Trigger
        }

        ControlValue {
            objectName: row.objectName + "Value"
            Layout.preferredWidth: row.width * 0.2
            Layout.fillWidth: row.isTyped
            Layout.fillHeight: true
            visible: slider.visible || row.isTyped
            isReadOnly: slider.isMeter || row.look === ControlRows.Reading || !row.desk.session.mayTypeText
            spokenName: row.name
            valueText: row.valueText
            hint: row.desk.hints.typedControl
            onEntered: text => row.desk.plugins.enter(row.editorId, row.control, text)
        }
    }

    ControlLearning {
        objectName: row.objectName + "Learn"
        anchors.fill: parent
        visible: row.isLearning
        isPending: row.isPending
        spokenName: row.name
        hint: row.desk.hints.learnPluginControl
        onClicked: row.desk.plugins.learn(row.editorId, row.control)
    }
}
