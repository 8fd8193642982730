import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// One permission: its name, whether it is granted, and the ways to grant it while it is not.
Rectangle {
    id: card

    required property string title
    required property bool granted
    property bool showRelaunch: false

    signal grant
    signal settings
    signal relaunch

    implicitHeight: 24 + 2 * 10
    radius: 8
    color: Qt.rgba(1, 1, 1, 0.12)
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Icon {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        width: 18
        height: 18
        name: card.granted ? "checkmark.circle.fill" : "circle"
        color: card.granted ? Color.crSwitchOn : Color.secondaryText
        Accessible.role: Accessible.Indicator
        Accessible.name: card.title
        Accessible.checkable: true
        Accessible.checked: card.granted
    }
    ControlText {
        anchors.left: icon.right
        anchors.leftMargin: 8
        anchors.right: buttons.left
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignLeft
        label: card.title
    }
    Row {
        id: buttons

        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8
        visible: !card.granted

        MacButton {
            text: S.allow
            fill: Color.crAccent
            onClicked: card.grant()
        }
        MacButton {
            text: S.openSystemSettings
            fill: Color.segmentSelected
            onClicked: card.settings()
        }
        MacButton {
            visible: card.showRelaunch
            text: S.relaunch
            fill: Color.segmentSelected
            onClicked: card.relaunch()
        }
    }
}
