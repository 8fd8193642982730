import QtQuick
import Cobaltreel.Controls

/// What a drop-down shows while it is closed: the text, and a badge at the trailing end.
Rectangle {
    id: label

    required property string text
    property bool revealed: false
    property bool quiet: false

    implicitWidth: title.implicitWidth + badge.width + 6 + 2 * 8
    implicitHeight: Math.max(title.implicitHeight, badge.height) + 2 * 5
    radius: 6
    color: Color.crFill
    border.color: Qt.rgba(1, 1, 1, 0.08)

    ControlText {
        id: title

        anchors.left: parent.left
        anchors.leftMargin: 8
        anchors.right: badge.left
        anchors.rightMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignLeft
        label: label.text
        revealed: label.revealed
        quiet: label.quiet
        Accessible.ignored: true
    }
    Rectangle {
        id: badge

        anchors.right: parent.right
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        width: symbol.width + 2 * 4
        height: symbol.height + 2 * 4
        radius: 4
        color: Color.crAccent

        Icon {
            id: symbol

            anchors.centerIn: parent
            width: 9
            height: 9
            name: "chevron.up.chevron.down"
        }
    }
}
