import QtQuick
import Cobaltreel.Controls

Board {
    columns: 4

    BoardCell { caption: "off"; room: 90; MacSwitch { isOn: false } }
    BoardCell { caption: "focus"; room: 90; MacSwitch { isOn: false; showsFocus: true } }
    BoardCell { caption: "disabled"; room: 90; MacSwitch { isOn: false; enabled: false } }
    BoardCell { caption: "halfway"; room: 90; MacSwitch { isOn: false; position: 0.5 } }
    BoardCell { caption: "on"; room: 90; MacSwitch { isOn: true } }
    BoardCell { caption: "focus"; room: 90; MacSwitch { isOn: true; showsFocus: true } }
    BoardCell { caption: "disabled"; room: 90; MacSwitch { isOn: true; enabled: false } }
}
