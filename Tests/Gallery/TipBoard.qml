import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Item {
    id: board

    required property InterfaceSettings settings
    readonly property bool settled: shortTip.opened && longTip.opened

    implicitWidth: 320
    implicitHeight: 150

    MacButton {
        x: board.LayoutMirroring.enabled ? 320 - 20 - width : 20
        y: 16
        iconName: "gearshape"
        Accessible.name: S.settings

        Tip { id: shortTip; delay: 0; text: S.settings; visible: true }
    }
    ControlText {
        x: 20
        y: 80
        width: 280
        label: S.exportNote

        Tip { id: longTip; delay: 0; text: S.exportNote; visible: true }
    }
}
