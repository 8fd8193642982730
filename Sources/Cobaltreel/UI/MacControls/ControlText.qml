import QtQuick

/// A line of text that never clips: one too long for its place ends in an ellipsis and is shown whole in a
/// tooltip, when the pointer rests on it or `revealed` says so.
Text {
    id: label

    /// Shows the tooltip of a shortened text without the pointer, for the keyboard's sake.
    property bool revealed: false

    color: Color.text
    font.pixelSize: TextSize.body
    textFormat: Text.PlainText
    elide: Text.ElideRight
    maximumLineCount: 1
    verticalAlignment: Text.AlignVCenter
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    HoverHandler {
        id: hover
    }
    Tip {
        text: label.text
        visible: label.truncated && (hover.hovered || label.revealed)
    }
}
