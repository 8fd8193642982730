import QtQuick
import Cobaltreel.Controls

/// A labelled slider for one end of the kept span, with its time. The slider runs as time does, from left to
/// right in every language.
Item {
    id: row

    required property string label
    required property real labelWidth
    required property real value
    /// The value as minutes and seconds.
    required property string time
    /// What that leaves out.
    required property string tenths
    required property real lowerBound
    required property real upperBound
    readonly property alias labelImplicitWidth: title.implicitWidth

    signal edited(real value)

    implicitHeight: 20

    ControlText {
        id: title

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        width: row.labelWidth
        horizontalAlignment: Text.AlignLeft
        label: row.label
        font.pixelSize: TextSize.small
    }
    Item {
        anchors.left: title.right
        anchors.right: clock.left
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        height: slider.implicitHeight

        MacSlider {
            id: slider

            objectName: row.objectName + "Slider"
            width: parent.width
            LayoutMirroring.enabled: false
            value: row.value
            lowerBound: row.lowerBound
            upperBound: row.upperBound
            step: 0.1
            Accessible.name: row.label
            Accessible.description: row.time + row.tenths
            onEdited: value => row.edited(value)
        }
    }
    Item {
        id: clock

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: shownTime.width + Math.ceil(fraction.advanceWidth)
        height: shownTime.height

        // The tenths stand to the right of the seconds in every language, as they are read.
        Item {
            anchors.fill: parent
            LayoutMirroring.enabled: false
            LayoutMirroring.childrenInherit: true

            ControlText {
                id: shownTime

                objectName: row.objectName + "Time"
                width: Math.max(implicitWidth, Math.ceil(digits.advanceWidth))
                horizontalAlignment: Text.AlignRight
                label: row.time
                font.pixelSize: TextSize.small
            }
            ControlText {
                anchors.left: shownTime.right
                anchors.baseline: shownTime.baseline
                label: row.tenths
                font.pixelSize: TextSize.tight
                color: Color.secondaryText
                Accessible.ignored: true
            }
        }
    }
    TextMetrics {
        id: fraction

        font.pixelSize: TextSize.tight
        text: ".0"
    }
    TextMetrics {
        id: digits

        font: shownTime.font
        text: row.time.replace(/[0-9]/g, "0")
    }
}
