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
    }
    Item {
        anchors.left: title.right
        anchors.right: shownTime.left
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
    ControlText {
        id: shownTime

        objectName: row.objectName + "Time"
        anchors.right: parent.right
        anchors.rightMargin: Math.ceil(fraction.advanceWidth) + 2
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(implicitWidth, Math.ceil(digits.advanceWidth))
        horizontalAlignment: Text.AlignRight
        label: row.time
    }
    // To the right of the seconds in every language, as they are read.
    ControlText {
        LayoutMirroring.enabled: false
        anchors.left: shownTime.right
        anchors.baseline: shownTime.baseline
        label: row.tenths
        font.pixelSize: TextSize.tight
        color: Color.secondaryText
        Accessible.ignored: true
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
