import QtQuick
import Cobaltreel.Controls

/// One line of text to type, inside a rounded border. It shows `value`; what is typed goes out through
/// `edited`. A text's first letter decides its direction and alignment.
Item {
    id: control

    required property string value
    /// What the field is for, told to assistive technology.
    required property string name
    property bool showsFocus: input.activeFocus

    signal edited(string value)

    implicitWidth: 200
    implicitHeight: input.implicitHeight + 2 * 5
    opacity: enabled ? 1 : 0.4
    // At either end of the text an arrow key means nothing, here as little as to what is around the field.
    Keys.onLeftPressed: event => event.accepted = true
    Keys.onRightPressed: event => event.accepted = true
    onValueChanged: if (input.text !== value)
        input.text = value

    Rectangle {
        anchors.fill: parent
        radius: 6
        color: Color.crFillSoft
        border.color: Color.fieldBorder
    }
    TextInput {
        id: input

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.margins: 8
        activeFocusOnTab: true
        clip: true
        color: Color.text
        font.pixelSize: TextSize.body
        maximumLength: 1000
        selectByMouse: true
        selectedTextColor: "white"
        selectionColor: Color.crAccent
        Accessible.role: Accessible.EditableText
        Accessible.name: control.name
        Component.onCompleted: text = control.value
        onTextEdited: control.edited(text)
    }
    HoverHandler {
        cursorShape: Qt.IBeamCursor
    }
    FocusRing {
        shown: control.showsFocus
        corner: 6
    }
}
