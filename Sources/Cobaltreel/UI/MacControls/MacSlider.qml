import QtQuick
import Cobaltreel.Controls

/// A slider over the closed range from `lowerBound` to `upperBound`. Touching it anywhere takes the knob
/// there; every change goes out through `edited`.
Item {
    id: control

    required property real value
    required property real lowerBound
    required property real upperBound
    /// How far an arrow key goes.
    property real step: (upperBound - lowerBound) / 20
    property bool showsFocus: activeFocus && !usedByPointer

    signal edited(real value)

    property bool usedByPointer: false
    readonly property bool mirrored: LayoutMirroring.enabled
    readonly property real fraction: ControlMath.fraction(value, lowerBound, upperBound)
    // Assistive technology reads these by name.
    readonly property real minimumValue: lowerBound
    readonly property real maximumValue: upperBound
    readonly property real stepSize: step

    implicitWidth: 160
    implicitHeight: 16
    activeFocusOnTab: true
    onActiveFocusChanged: if (!activeFocus)
        usedByPointer = false

    Accessible.role: Accessible.Slider
    Accessible.description: enabled ? "" : Words.unavailable
    Accessible.onIncreaseAction: control.nudge(1)
    Accessible.onDecreaseAction: control.nudge(-1)

    function edit(newValue: real) {
        if (newValue !== value)
            edited(newValue);
    }
    function nudge(steps: real) {
        edit(ControlMath.clamped(value + steps * step, lowerBound, upperBound));
    }

    /// After the pointer has used it nothing shows that the arrows would be the slider's: they are not, then.
    /// With a modifier they belong to the window.
    function answerArrow(event: KeyEvent, steps: real) {
        const mine = !usedByPointer && !(event.modifiers & (Qt.ControlModifier | Qt.ShiftModifier));
        event.accepted = mine;
        if (mine)
            nudge(steps);
    }

    Keys.onLeftPressed: event => answerArrow(event, mirrored ? 1 : -1)
    Keys.onRightPressed: event => answerArrow(event, mirrored ? -1 : 1)
    Keys.onUpPressed: event => answerArrow(event, 1)
    Keys.onDownPressed: event => answerArrow(event, -1)
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_Home)
            edit(lowerBound);
        else if (event.key === Qt.Key_End)
            edit(upperBound);
        else if (event.key === Qt.Key_PageUp)
            nudge(4);
        else if (event.key === Qt.Key_PageDown)
            nudge(-4);
        else
            event.accepted = false;
    }

    Item {
        anchors.fill: parent
        opacity: control.enabled ? 1 : 0.4

        Rectangle {
            y: (parent.height - height) / 2
            width: parent.width
            height: 4
            radius: 2
            color: Color.crTrackOff
        }
        Rectangle {
            x: control.mirrored ? parent.width - width : 0
            y: (parent.height - height) / 2
            width: control.fraction * parent.width
            height: 4
            radius: Math.min(width, height) / 2
            color: Color.crAccent
        }
    }
    Knob {
        x: ControlMath.knobX(control.fraction, control.width, control.mirrored) - margin
        y: (control.height - height) / 2
        diameter: 16
        dimmed: !control.enabled
    }
    MouseArea {
        anchors.fill: parent
        preventStealing: true
        onPressed: event => {
            control.usedByPointer = true;
            control.forceActiveFocus(Qt.MouseFocusReason);
            moveTo(event);
        }
        onPositionChanged: event => moveTo(event)

        function moveTo(event: MouseEvent) {
            control.edit(ControlMath.sliderValue(event.x, width, control.lowerBound, control.upperBound,
                                                 control.mirrored));
        }
    }
    FocusRing {
        shown: control.showsFocus
        corner: 8
    }
}
