import QtQuick
import Cobaltreel.CountdownWindow
import Cobaltreel.Windows

/// The digits over a bright and a dark desktop, under the overlay's layer.
Item {
    id: board

    required property InterfaceSettings settings

    implicitWidth: 640
    implicitHeight: 300

    Rectangle {
        anchors.fill: parent

        gradient: Gradient {
            orientation: Gradient.Horizontal

            GradientStop { position: 0; color: "white" }
            GradientStop { position: 1; color: "#203040" }
        }
    }
    Rectangle {
        anchors.fill: parent
        color: Qt.rgba(0, 0, 0, 0.25)
    }
    Row {
        anchors.centerIn: parent

        Repeater {
            model: [3, 2, 1]

            CountdownDigit {
                required property int modelData

                digit: modelData
            }
        }
    }
}
