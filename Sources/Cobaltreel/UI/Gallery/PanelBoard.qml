import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// Controls side by side, as a panel has them.
Column {
    id: board

    required property InterfaceSettings settings

    width: 320
    padding: 14
    spacing: 8

    MacButton { width: 292; text: S.startRecording; iconName: "record.circle.fill"; fill: Color.crAccent; corner: 8; padding: 8; font.pixelSize: TextSize.heading; font.weight: Font.Medium }
    MacSegmented { width: 292; selection: 0; options: [{value: 0, title: S.fullScreen}, {value: 1, title: S.window}] }
    Rectangle { width: 292; height: 1; color: Color.separator }
    Item {
        width: 292
        height: 22

        MacToggleRow { id: camera; anchors.left: parent.left; label: S.camera; isOn: true; stretch: false }
        MacToggleRow { anchors.left: camera.right; anchors.leftMargin: 16; label: S.mirror; isOn: false; stretch: false }
    }
    MacDropdown { width: 292; text: S.camera; content: [] }
    Grid {
        LayoutMirroring.enabled: false
        LayoutMirroring.childrenInherit: true
        columns: 2
        spacing: 6

        Repeater {
            model: [S.topLeft, S.topRight, S.bottomLeft, S.bottomRight]

            MacButton {
                required property string modelData
                required property int index

                width: 143
                text: modelData
                fill: index === 2 ? Qt.alpha(Color.crAccent, 0.85) : Color.button
                outline: Qt.rgba(1, 1, 1, 0.1)
                verticalPadding: 5
                font.pixelSize: 11
            }
        }
    }
    ControlText { width: 292; horizontalAlignment: Text.AlignLeft; label: S.bubbleSize; font.pixelSize: TextSize.caption }
    MacSlider { width: 292; lowerBound: 0.15; upperBound: 0.35; value: 0.22 }
    ControlText { width: 292; horizontalAlignment: Text.AlignLeft; label: S.cameraStyle; font.pixelSize: TextSize.caption }
    MacSegmented { width: 292; selection: 0; options: [{value: 0, title: S.bubble}, {value: 1, title: S.cutout}] }
    MacDropdown { width: 292; text: S.microphone; content: [] }
    MacProgressBar { width: 292; value: 0.45 }
    MacToggleRow { width: 292; label: S.systemAudio; isOn: true; stretch: true }
    MacToggleRow { width: 292; label: S.autoZoom; isOn: true; stretch: true }
    Rectangle { width: 292; height: 1; color: Color.separator }
    Item {
        width: 292
        height: quit.height

        MacButton { id: quit; anchors.left: parent.left; text: S.quit }
        MacButton { id: gear; anchors.left: quit.right; anchors.leftMargin: 6; iconName: "gearshape"; verticalPadding: 5; tip: S.settings }
        ControlText { id: keys; anchors.left: gear.right; anchors.leftMargin: 6; anchors.verticalCenter: gear.verticalCenter; label: S.shortcut; font.pixelSize: TextSize.caption; color: Color.secondaryText }
        ControlText { anchors.right: parent.right; anchors.verticalCenter: gear.verticalCenter; label: S.versionEgg; font.pixelSize: TextSize.caption2; color: Color.secondaryText }
    }
}
