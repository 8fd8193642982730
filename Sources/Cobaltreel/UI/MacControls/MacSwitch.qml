import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls

/// A switch. It shows `isOn`; a tap, or Space, asks for the other state through `edited`.
T.CheckBox {
    id: control

    required property bool isOn
    property bool showsFocus: visualFocus

    signal edited(bool isOn)

    /// 0 with the knob at the leading end, 1 at the trailing end.
    property real position: isOn ? 1 : 0

    implicitWidth: 38
    implicitHeight: 22
    focusPolicy: Qt.StrongFocus

    // The template's own state stays what `isOn` says, whatever is clicked.
    checked: isOn
    nextCheckState: () => checkState

    Accessible.description: enabled ? "" : Words.unavailable
    Accessible.onToggleAction: control.edited(!control.isOn)
    Accessible.onPressAction: control.edited(!control.isOn)
    onClicked: edited(!isOn)

    Behavior on position {
        NumberAnimation {
            duration: 150
            easing.type: Easing.BezierSpline
            easing.bezierCurve: [0, 0, 0.58, 1, 1, 1]
        }
    }

    background: Rectangle {
        opacity: control.enabled ? 1 : 0.4
        radius: height / 2
        color: control.isOn ? Color.crSwitchOn : Color.crTrackOff

        Behavior on color {
            ColorAnimation {
                duration: 150
                easing.type: Easing.BezierSpline
                easing.bezierCurve: [0, 0, 0.58, 1, 1, 1]
            }
        }
    }
    contentItem: Item {
        Knob {
            x: 2 - margin + (control.mirrored ? 1 - control.position : control.position) * 16
            y: 2 - margin
            diameter: 18
            dimmed: !control.enabled
            shadowOpacity: 0.25
            shadowRadius: 1
            shadowOffset: 0.5
        }
    }

    FocusRing {
        shown: control.showsFocus
        corner: control.height / 2
    }
}
