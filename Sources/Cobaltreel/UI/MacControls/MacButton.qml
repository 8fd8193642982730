import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls

/// A plain push button: a text, a picture, or both, on a filled rounded rectangle. Answers Space, and Return
/// when the keyboard has come to it; after a click Return is still the window's.
T.AbstractButton {
    id: control

    /// A picture of the kit; empty for none.
    property string iconName: ""
    /// Shown while the pointer rests on the button; the name of one that has no text.
    property string tip: ""
    /// What a text that not everybody reads stands for: its tooltip, and its name for assistive technology.
    property string meaning: ""
    property color fill: Color.button
    property color outline: "transparent"
    property real corner: 5
    property bool showsFocus: visualFocus

    readonly property real pictureRoom: picture.visible ? picture.width + (text === "" ? 0 : row.spacing) : 0

    implicitWidth: pictureRoom + (text === "" ? 0 : title.implicitWidth) + leftPadding + rightPadding
    implicitHeight: Math.max(picture.height, title.implicitHeight) + topPadding + bottomPadding
    horizontalPadding: 8
    verticalPadding: 4
    opacity: enabled ? 1 : 0.4
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    font.pixelSize: TextSize.small

    // From Qt 6.8 on a role that is given holds for buttons that can be checked too.
    Accessible.role: checkable ? Accessible.CheckBox : Accessible.Button
    Accessible.name: text === "" ? tip : meaning === "" ? text : text + ": " + meaning
    Accessible.description: enabled ? "" : Words.unavailable
    Accessible.onPressAction: control.clicked()
    Keys.onReturnPressed: event => answerReturn(event)
    Keys.onEnterPressed: event => answerReturn(event)

    function answerReturn(event: KeyEvent) {
        event.accepted = visualFocus;
        if (visualFocus)
            clicked();
    }

    background: SmoothRectangle {
        color: control.fill
        radius: control.corner

        Rectangle {
            anchors.fill: parent
            radius: control.corner
            color: control.down ? Qt.rgba(0, 0, 0, 0.25) : "transparent"
            border.color: control.outline
        }
    }

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 6

        Icon {
            id: picture

            anchors.verticalCenter: parent.verticalCenter
            width: Math.round(control.font.pixelSize * 1.15)
            height: width
            name: control.iconName
            visible: control.iconName !== ""
        }
        ControlText {
            id: title

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, control.availableWidth - control.pictureRoom)
            label: control.text
            font: control.font
            color: "white"
            visible: control.text !== ""
            revealed: control.showsFocus
            Accessible.ignored: true
        }
    }

    Tip {
        text: control.tip !== "" ? control.tip : control.meaning
        visible: control.Window.window !== null && text !== "" && (control.hovered || control.showsFocus)
    }
    FocusRing {
        shown: control.showsFocus
        corner: control.corner
    }
}
