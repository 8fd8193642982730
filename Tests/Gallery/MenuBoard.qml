import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Item {
    id: board

    required property InterfaceSettings settings
    readonly property bool settled: dropdown.isOpen

    implicitWidth: 332
    implicitHeight: 190
    onVisibleChanged: openLater()
    Component.onCompleted: openLater()

    Timer {
        id: opening

        interval: 0
        onTriggered: dropdown.open()
    }
    function openLater() {
        if (visible)
            opening.start();
    }

    MacDropdown {
        id: dropdown

        x: 20
        y: 20
        width: 292
        text: S.camera
        selection: "b"
        content: [
            {value: "a", title: S.camera + " 1"},
            {value: "b", title: S.camera + " 2"},
            {value: "c", title: "HD Pro Webcam C920 with a very long description (046d:082d)"},
            {value: "d", title: "Screen — " + S.fullScreen}
        ]
    }
}
