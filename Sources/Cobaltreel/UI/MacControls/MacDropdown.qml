pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls

/// A pull-down menu under a MacMenuLabel. `content` is a list of { value, title }; choosing an item hands
/// out its value through `chosen`. The item whose value is `selection`, if any, carries a check mark.
Item {
    id: control

    required property string text
    /// What is chosen here, told to assistive technology with the text; empty where the text says it.
    property string name: ""
    required property var content
    property var selection
    property bool showsFocus: activeFocus && !usedByPointer
    readonly property alias isOpen: menu.opened

    signal chosen(var value)

    property bool usedByPointer: false

    implicitWidth: label.implicitWidth
    implicitHeight: label.implicitHeight
    opacity: enabled ? 1 : 0.4
    activeFocusOnTab: true

    Accessible.role: Accessible.ButtonMenu
    Accessible.name: name === "" || name === text ? text : name + ": " + text
    Accessible.description: enabled ? "" : Words.unavailable
    Accessible.onPressAction: control.open()
    Keys.onReturnPressed: event => answerReturn(event)
    Keys.onEnterPressed: event => answerReturn(event)
    Keys.onDownPressed: openByKeyboard()
    Keys.onSpacePressed: openByKeyboard()

    /// After a click Return is still the window's.
    function answerReturn(event: KeyEvent) {
        event.accepted = showsFocus;
        if (showsFocus)
            open();
    }
    function openByKeyboard() {
        usedByPointer = false;
        open();
    }
    function open() {
        if (content.length === 0)
            return;
        items.currentIndex = Math.max(0, content.findIndex(item => item.value === selection));
        menu.open();
        items.positionViewAtIndex(items.currentIndex, ListView.Contain);
    }
    function choose(index: int) {
        const value = content[index].value;
        menu.close();
        chosen(value);
    }

    MacMenuLabel {
        id: label

        anchors.fill: parent
        text: control.text
        revealed: control.showsFocus
        quiet: control.isOpen
    }

    MouseArea {
        anchors.fill: parent
        onClicked: {
            control.usedByPointer = true;
            control.forceActiveFocus(Qt.MouseFocusReason);
            control.open();
        }
    }
    T.Popup {
        id: menu

        readonly property real room: control.Window.window ? control.Window.window.height - 2 * margins : 400

        y: control.height + 4
        width: control.width
        height: Math.min(items.contentHeight + topPadding + bottomPadding, room)
        margins: 6
        padding: 4
        focus: true
        // A press beside the menu closes it and does nothing else.
        modal: true
        dim: false
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
        onClosed: control.forceActiveFocus(Qt.PopupFocusReason)

        background: Rectangle {
            radius: 6
            color: Color.menu
            border.color: Color.separator
        }
        ListView {
            id: items

            anchors.fill: parent
            LayoutMirroring.enabled: control.LayoutMirroring.enabled
            LayoutMirroring.childrenInherit: true
            Accessible.role: Accessible.PopupMenu
            Accessible.name: control.text
            clip: true
            focus: true
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: true
            highlightMoveDuration: 0
            model: control.content
            T.ScrollBar.vertical: ThinScrollBar {}
            Keys.onReturnPressed: control.choose(currentIndex)
            Keys.onEnterPressed: control.choose(currentIndex)
            Keys.onSpacePressed: control.choose(currentIndex)
            Keys.onPressed: event => {
                event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End;
                if (!event.accepted)
                    return;
                currentIndex = event.key === Qt.Key_Home ? 0 : count - 1;
                positionViewAtIndex(currentIndex, ListView.Contain);
            }

            delegate: Rectangle {
                id: item

                required property int index
                required property var modelData
                readonly property bool isCurrent: index === items.currentIndex

                width: items.width
                implicitHeight: title.implicitHeight + 10
                radius: 4
                color: isCurrent ? Color.crAccent : "transparent"

                Accessible.role: Accessible.MenuItem
                Accessible.name: modelData.title
                Accessible.checkable: control.selection !== undefined
                Accessible.checked: mark.visible
                Accessible.onPressAction: control.choose(index)

                // No TapHandler: those below the menu would answer the same press.
                MouseArea {
                    anchors.fill: parent
                    hoverEnabled: true
                    onPositionChanged: items.currentIndex = item.index
                    onClicked: control.choose(item.index)
                }

                Icon {
                    id: mark

                    anchors.left: parent.left
                    anchors.leftMargin: 6
                    anchors.verticalCenter: parent.verticalCenter
                    width: 10
                    height: 10
                    name: "check"
                    visible: item.modelData.value === control.selection
                }
                ControlText {
                    id: title

                    anchors.left: parent.left
                    anchors.leftMargin: 22
                    anchors.right: parent.right
                    anchors.rightMargin: 6
                    anchors.verticalCenter: parent.verticalCenter
                    horizontalAlignment: Text.AlignLeft
                    label: item.modelData.title
                    revealed: item.isCurrent
                    color: item.isCurrent ? "white" : Color.text
                    Accessible.ignored: true
                }
            }
        }
    }

    FocusRing {
        shown: control.showsFocus
        corner: 6
    }
}
