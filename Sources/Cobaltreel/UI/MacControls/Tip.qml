import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls

/// A short text beside the pointer. Longer ones wrap within the window.
T.ToolTip {
    id: tip

    readonly property real room: parent && parent.Window.window ? parent.Window.window.width - 2 * margins : 320

    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? parent.height + 4 : 0
    margins: 6
    padding: 6
    delay: 500
    implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding, room)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent

    contentItem: Text {
        text: TextDirection.laidOut(tip.text, tip.parent?.LayoutMirroring.enabled ?? false)
        textFormat: Text.PlainText
        color: Color.text
        font.pixelSize: 11
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: Color.menu
        radius: 5
        border.color: Color.separator
    }
}
