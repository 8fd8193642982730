import QtQuick
import Cobaltreel.Controls

/// A line of text that never clips: one too long for its place ends in an ellipsis and is shown whole in a
/// tooltip, when the pointer rests on it or `revealed` says so.
Text {
    id: line

    /// The text as it stands; `text` is what the layout makes of it.
    required property string label
    /// Shows the tooltip of a shortened text without the pointer, for the keyboard's sake.
    property bool revealed: false
    /// What signs that not everybody reads stand for: their tooltip, and their name for assistive technology.
    property string meaning: ""
    /// Keeps the tooltip away from what stands in its place.
    property bool quiet: false

    text: TextDirection.laidOut(label, LayoutMirroring.enabled)
    color: Color.text
    font.pixelSize: TextSize.body
    textFormat: Text.PlainText
    elide: Text.ElideRight
    maximumLineCount: 1
    verticalAlignment: Text.AlignVCenter
    Accessible.role: Accessible.StaticText
    Accessible.name: meaning !== "" ? meaning : label

    HoverHandler {
        id: hover
    }
    Tip {
        text: line.meaning !== "" ? line.meaning : line.text
        // While a view is being built, or thrown away, there is no window to open it in.
        visible: line.Window.window !== null && (line.truncated || line.meaning !== "") && !line.quiet && (hover.hovered || line.revealed)
    }
}
