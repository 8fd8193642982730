import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Board {
    id: board

    readonly property string longName: "HD Pro Webcam C920 with a very long description (046d:082d)"

    columns: 2

    BoardCell { caption: "closed"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: [] } }
    BoardCell { caption: "focus"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: []; showsFocus: true } }
    BoardCell { caption: "disabled"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: []; enabled: false } }
    BoardCell { caption: "too long"; room: 292; MacDropdown { width: parent.width; text: board.longName; content: [] } }
    BoardCell { caption: "natural width"; room: 292; MacDropdown { text: S.fullScreen; content: [] } }
    BoardCell { caption: "label alone"; room: 292; MacMenuLabel { width: parent.width; text: S.microphone } }
}
