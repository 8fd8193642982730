import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls

/// A level from 0 to 1; values outside count as the nearer end.
T.Control {
    id: control

    required property real value
    // Assistive technology reads these by name.
    readonly property real minimumValue: 0
    readonly property real maximumValue: 1

    implicitWidth: 160
    implicitHeight: 6

    Accessible.role: Accessible.ProgressBar

    background: Rectangle {
        radius: height / 2
        color: Color.levelTrack
        opacity: control.enabled ? 1 : 0.4
    }
    contentItem: Item {
        Rectangle {
            x: control.mirrored ? parent.width - width : 0
            width: parent.width * ControlMath.unit(control.value)
            height: parent.height
            radius: Math.min(width, height) / 2
            color: Color.crSwitchOn
            opacity: control.enabled ? 1 : 0.4
        }
    }
}
