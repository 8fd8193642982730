import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Board {
    id: board

    readonly property var styles: [{value: 0, title: S.bubble}, {value: 1, title: S.cutout}]
    readonly property var qualities: [
        {value: 0, title: S.quality720}, {value: 1, title: S.quality1080}, {value: 2, title: S.qualityFull}
    ]

    columns: 2

    BoardCell { caption: "first"; room: 292; MacSegmented { width: 170; options: board.styles; selection: 0 } }
    BoardCell { caption: "last"; room: 292; MacSegmented { width: 170; options: board.styles; selection: 1 } }
    BoardCell { caption: "none"; room: 292; MacSegmented { width: 170; options: board.styles; selection: 7 } }
    BoardCell { caption: "focus"; room: 292; MacSegmented { width: 170; options: board.styles; selection: 0; showsFocus: true } }
    BoardCell { caption: "disabled"; room: 292; MacSegmented { width: 170; options: board.styles; selection: 0; enabled: false } }
    BoardCell { caption: "natural width"; room: 292; MacSegmented { options: board.styles; selection: 1 } }
    BoardCell { caption: "full width"; room: 292; MacSegmented { width: 292; options: board.styles; selection: 1 } }
    BoardCell { caption: "too narrow"; room: 292; MacSegmented { width: 230; options: board.qualities; selection: 1 } }
    BoardCell { caption: "natural width"; room: 480; MacSegmented { options: board.qualities; selection: 1 } }
}
