import QtQuick
import Cobaltreel.Controls

/// A level from 0 to 1; values outside count as the nearer end.
Item {
    id: control

    required property real value

    implicitWidth: 160
    implicitHeight: 6

    Accessible.role: Accessible.ProgressBar
    // The toolkit tells assistive technology the numbers of sliders only.
    Accessible.description: Math.round(100 * ControlMath.unit(value)) + "%"

    Rectangle {
        anchors.fill: parent
        opacity: control.enabled ? 1 : 0.4
        radius: height / 2
        color: Color.levelTrack
    }
    Rectangle {
        x: control.LayoutMirroring.enabled ? control.width - width : 0
        width: control.width * ControlMath.unit(control.value)
        height: control.height
        opacity: control.enabled ? 1 : 0.4
        radius: Math.min(width, height) / 2
        color: Color.crSwitchOn
    }
}
