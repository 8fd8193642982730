import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Board {
    columns: 2

    BoardCell { caption: "together"; MacToggleRow { label: S.camera; isOn: true; stretch: false } }
    BoardCell { caption: "together, off"; MacToggleRow { label: S.mirror; isOn: false; stretch: false } }
    BoardCell { caption: "stretched"; MacToggleRow { width: parent.width; label: S.systemAudio; isOn: true; stretch: true } }
    BoardCell { caption: "stretched, off"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: false; stretch: true } }
    BoardCell { caption: "focus"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: true; stretch: true; showsFocus: true } }
    BoardCell { caption: "disabled"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: true; stretch: true; enabled: false } }
    BoardCell { caption: "too narrow"; MacToggleRow { width: 110; label: S.clickHighlights; isOn: true; stretch: false } }
}
