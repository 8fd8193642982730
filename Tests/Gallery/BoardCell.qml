import QtQuick
import Cobaltreel.Controls

/// One control on a board, with the state it is shown in.
Column {
    id: cell

    required property string caption
    default property alias control: place.data
    property real room: 180

    width: room
    spacing: 6

    ControlText {
        anchors.left: parent.left
        width: parent.width
        horizontalAlignment: Text.AlignLeft
        label: cell.caption
        color: Color.secondaryText
        font.pixelSize: TextSize.caption
    }
    Row {
        id: place

        width: parent.width
    }
}
