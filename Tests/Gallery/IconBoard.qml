pragma ComponentBehavior: Bound

import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Column {
    id: board

    required property InterfaceSettings settings

    padding: 20
    spacing: 16

    Repeater {
        model: [9, 12, 17, 22, 48]

        Row {
            id: line

            required property int modelData

            spacing: 20

            Repeater {
                model: [
                    "record.circle", "record.circle.fill", "stop.circle.fill", "gearshape", "circle",
                    "checkmark.circle.fill", "check", "chevron.up.chevron.down"
                ]

                Icon {
                    required property string modelData

                    name: modelData
                    width: line.modelData
                    height: line.modelData
                    color: modelData === "checkmark.circle.fill" ? Color.crSwitchOn : Color.text
                }
            }
        }
    }
}
