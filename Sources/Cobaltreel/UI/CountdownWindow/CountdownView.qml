import QtQuick
import Cobaltreel.CountdownWindow

/// The digit in the middle of the screen.
Item {
    id: view

    required property CountdownModel model

    CountdownDigit {
        anchors.centerIn: parent
        digit: view.model.digit
        Accessible.role: Accessible.AlertMessage
        Accessible.name: digit
    }
}
