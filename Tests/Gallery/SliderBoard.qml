import QtQuick
import Cobaltreel.Controls

Board {
    Repeater {
        model: [0, 0.02, 0.3, 0.5, 0.98, 1]

        BoardCell {
            id: cell

            required property real modelData

            caption: String(modelData)

            MacSlider { width: cell.room; lowerBound: 0; upperBound: 1; value: cell.modelData }
        }
    }
    BoardCell { caption: "focus"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0.6; showsFocus: true } }
    BoardCell { caption: "disabled"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0.6; enabled: false } }
    BoardCell { caption: "no range"; MacSlider { width: parent.width; lowerBound: 3; upperBound: 3; value: 3 } }
}
