pragma ComponentBehavior: Bound

import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// The four corners of the screen, where they are on the screen whichever way the interface runs. `corner`
/// is the raw value of the chosen one; a tap asks for another through `edited`.
Grid {
    id: grid

    required property string corner

    signal edited(string corner)

    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true
    columns: 2
    spacing: 6

    Repeater {
        model: [
            {corner: "topLeft", title: S.topLeft},
            {corner: "topRight", title: S.topRight},
            {corner: "bottomLeft", title: S.bottomLeft},
            {corner: "bottomRight", title: S.bottomRight}
        ]

        MacButton {
            id: button

            required property var modelData
            readonly property bool isChosen: modelData.corner === grid.corner

            width: (grid.width - grid.spacing) / 2
            text: modelData.title
            fill: isChosen ? Qt.alpha(Color.crAccent, 0.85) : Color.button
            outline: Qt.rgba(1, 1, 1, 0.1)
            verticalPadding: 5
            font.pixelSize: 11
            // The template's own state: a screen reader that starts later reads this.
            checkable: true
            autoExclusive: true
            checked: isChosen
            onClicked: grid.edited(modelData.corner)
        }
    }
}
