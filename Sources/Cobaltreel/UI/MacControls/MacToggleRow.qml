import QtQuick
import Cobaltreel.Controls

/// A labelled switch; a tap on the label counts as one on the switch. With `stretch` the switch stands at
/// the trailing edge, otherwise right behind its label.
Item {
    id: row

    required property string label
    required property bool isOn
    required property bool stretch
    property int textSize: TextSize.body
    /// Between the label and the switch.
    property real gap: 8
    readonly property alias labelWidth: title.implicitWidth
    property alias showsFocus: toggle.showsFocus

    signal edited(bool isOn)

    implicitWidth: title.implicitWidth + gap + toggle.width
    implicitHeight: Math.max(title.implicitHeight, toggle.height)

    ControlText {
        id: title

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(0, Math.min(implicitWidth, row.width - row.gap - toggle.width))
        horizontalAlignment: Text.AlignLeft
        opacity: row.enabled ? 1 : 0.4
        label: row.label
        font.pixelSize: row.textSize
        revealed: toggle.showsFocus
        Accessible.ignored: true

        MouseArea {
            anchors.fill: parent
            onClicked: row.edited(!row.isOn)
        }
    }
    MacSwitch {
        id: toggle

        x: {
            const offset = row.stretch ? row.width - width : title.width + row.gap;
            return mirrored ? row.width - offset - width : offset;
        }
        anchors.verticalCenter: parent.verticalCenter
        isOn: row.isOn
        Accessible.name: row.label
        onEdited: isOn => row.edited(isOn)
    }
}
