import QtQuick

/// The ring around the control that the keyboard acts on. Fill the control with it.
Rectangle {
    id: ring

    required property bool shown
    /// Corner radius of the control itself.
    required property real corner

    anchors.fill: parent
    anchors.margins: -3
    radius: corner + 3
    color: "transparent"
    border.color: Color.focusRing
    border.width: 2
    visible: shown
}
