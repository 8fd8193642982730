pragma ComponentBehavior: Bound

import QtQuick
import Cobaltreel.Controls

/// A choice of one among a few. `options` is a list of { value, title }; `selection` is the chosen value,
/// or one that matches no option. A tap on a segment, or an arrow key, asks for its value through `edited`.
Item {
    id: control

    required property var selection
    required property var options
    property bool showsFocus: activeFocus

    signal edited(var value)

    readonly property bool mirrored: LayoutMirroring.enabled
    readonly property int selectedIndex: options.findIndex(option => option.value === selection)
    readonly property real widestTitle: {
        let widest = 0;
        for (let i = 0; i < segments.count; ++i)
            widest = Math.max(widest, segments.itemAt(i)?.implicitWidth ?? 0);
        return Math.ceil(widest);
    }

    implicitWidth: 2 * 3 + options.length * (widestTitle + 3) - 3
    implicitHeight: 2 * 3 + (segments.count > 0 ? segments.itemAt(0)?.implicitHeight ?? 0 : 0)
    opacity: enabled ? 1 : 0.4
    activeFocusOnTab: true

    Accessible.role: Accessible.PageTabList
    Accessible.description: enabled ? "" : Words.unavailable

    function select(index: int) {
        if (index >= 0)
            edited(options[index].value);
    }
    function move(by: int) {
        select(ControlMath.movedIndex(selectedIndex, by, options.length));
    }

    Keys.onLeftPressed: move(mirrored ? 1 : -1)
    Keys.onRightPressed: move(mirrored ? -1 : 1)
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End;
        if (event.accepted)
            select(event.key === Qt.Key_Home ? 0 : options.length - 1);
    }

    SmoothRectangle {
        anchors.fill: parent
        color: Color.crFillSoft
        radius: 8
    }
    Repeater {
        id: segments

        model: control.options

        Rectangle {
            id: segment

            required property int index
            required property var modelData
            readonly property bool isSelected: index === control.selectedIndex

            x: ControlMath.segmentX(index, segments.count, control.width, control.mirrored)
            y: 3
            width: ControlMath.segmentWidth(index, segments.count, control.width)
            height: control.height - 6
            implicitWidth: title.implicitWidth + 2 * 6
            implicitHeight: title.implicitHeight + 2 * 4
            radius: 6
            color: isSelected ? Color.segmentSelected : "transparent"

            Accessible.role: Accessible.RadioButton
            Accessible.name: modelData.title
            Accessible.checkable: true
            Accessible.checked: isSelected
            Accessible.onPressAction: control.select(index)

            MouseArea {
                anchors.fill: parent
                onClicked: control.select(segment.index)
            }
            ControlText {
                id: title

                anchors.centerIn: parent
                width: Math.min(implicitWidth, parent.width - 2 * 6)
                label: segment.modelData.title
                font.pixelSize: TextSize.small
                revealed: control.showsFocus && segment.isSelected
                Accessible.ignored: true
            }
        }
    }

    FocusRing {
        shown: control.showsFocus
        corner: 8
    }
}
