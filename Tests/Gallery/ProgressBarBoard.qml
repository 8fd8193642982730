import QtQuick
import Cobaltreel.Controls

Board {
    Repeater {
        model: [-0.2, 0, 0.02, 0.4, 1, 1.4]

        BoardCell {
            id: cell

            required property real modelData

            caption: String(modelData)

            MacProgressBar { width: cell.room; value: cell.modelData }
        }
    }
    BoardCell { caption: "disabled"; MacProgressBar { width: parent.width; value: 0.4; enabled: false } }
}
