// SPDX-License-Identifier: GPL-3.0-or-later
// The menu bar. New menus wait while one is open: the line under the finger must not be taken away.
pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Vrel.Console

MenuBar {
    id: bar

    required property ConsoleModel desk

    readonly property list<menuEntry> given: desk.menuBar.menus
    property list<menuEntry> shown
    property int openMenus

    function takeUp(): void {
        if (openMenus === 0)
            shown = given;
    }

    objectName: "menuBar"
    onGivenChanged: takeUp()
    Component.onCompleted: takeUp()

    Accessible.role: Accessible.MenuBar

    background: Rectangle {
        color: Theme.panel
    }

    delegate: MenuBarItem {
        id: title

        readonly property TitleMenu titleMenu: menu as TitleMenu

        objectName: titleMenu ? "menu" + titleMenu.place : ""
        implicitHeight: 30
        leftPadding: 12
        rightPadding: 12
        Accessible.role: Accessible.MenuItem
        Accessible.name: text
        Accessible.description: bar.desk.hints.menuTitle
        Accessible.onPressAction: title.triggered()

        background: Rectangle {
            color: title.down || (title.highlighted && bar.openMenus > 0) ? Theme.raised : "transparent"
        }
        contentItem: Text {
            text: title.text
            color: Theme.ink
            font.pixelSize: Theme.bodyText
            verticalAlignment: Text.AlignVCenter
        }

        Hint {
            over: title
            text: bar.openMenus > 0 ? "" : bar.desk.hints.menuTitle
            isBelow: true
        }
    }

    // As many menus as there are; a menu whose title or lines change stays.
    Instantiator {
        model: bar.shown.length

        delegate: TitleMenu {
            required property int index

            desk: bar.desk
            place: index
            title: index < bar.shown.length ? bar.shown[index].title : ""
            items: index < bar.shown.length ? bar.shown[index].items : []
            onVisibleChanged: {
                bar.openMenus += visible ? 1 : -1;
                settle.restart();
            }
        }
        onObjectAdded: (index, object) => bar.insertMenu(index, object as Menu)
        onObjectRemoved: (index, object) => bar.removeMenu(object as Menu)
    }

    Timer {
        id: settle

        interval: 1
        onTriggered: bar.takeUp()
    }
}
