import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.PopoverView

/// Whether there is a camera, which one, and how and where its picture floats.
Column {
    id: section

    required property PopoverModel model

    spacing: 8

    Item {
        width: parent.width
        implicitHeight: camera.implicitHeight

        MacToggleRow {
            id: camera

            anchors.left: parent.left
            label: S.camera
            isOn: section.model.cameraEnabled
            stretch: false
            onEdited: isOn => section.model.cameraEnabled = isOn
        }
        MacToggleRow {
            anchors.left: camera.right
            anchors.leftMargin: 16
            label: S.mirror
            isOn: section.model.mirrorCamera
            stretch: false
            visible: section.model.cameraEnabled
            onEdited: isOn => section.model.mirrorCamera = isOn
        }
    }
    MacDropdown {
        width: parent.width
        visible: section.model.cameraEnabled
        enabled: content.length > 0
        name: S.camera
        text: section.model.camera.text
        content: section.model.camera.items
        selection: section.model.camera.selection
        onChosen: uniqueID => section.model.chooseCamera(uniqueID)
    }
    CornerGrid {
        width: parent.width
        visible: section.model.cameraEnabled
        corner: section.model.cameraCorner
        onEdited: corner => section.model.cameraCorner = corner
    }
    Column {
        width: parent.width
        visible: section.model.cameraEnabled
        spacing: 4

        ControlText {
            width: parent.width
            horizontalAlignment: Text.AlignLeft
            opacity: enabled ? 1 : 0.4
            label: S.bubbleSize
            font.pixelSize: TextSize.caption
        }
        MacSlider {
            width: parent.width
            lowerBound: 0.15
            upperBound: 0.35
            value: section.model.bubbleSizeFraction
            Accessible.name: S.bubbleSize
            onEdited: fraction => section.model.bubbleSizeFraction = fraction
        }
    }
    Column {
        width: parent.width
        visible: section.model.cameraEnabled
        spacing: 4

        ControlText {
            width: parent.width
            horizontalAlignment: Text.AlignLeft
            opacity: enabled ? 1 : 0.4
            label: S.cameraStyle
            font.pixelSize: TextSize.caption
        }
        MacSegmented {
            width: parent.width
            selection: section.model.cameraStyle
            options: [{value: "bubble", title: S.bubble}, {value: "cutout", title: S.cutout}]
            Accessible.name: S.cameraStyle
            onEdited: style => section.model.cameraStyle = style
        }
    }
}
