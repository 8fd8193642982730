import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

Board {
    BoardCell { caption: "text"; MacButton { text: S.quit } }
    BoardCell { caption: "picture"; MacButton { iconName: "gearshape"; verticalPadding: 5; tip: S.settings } }
    BoardCell { caption: "focus"; MacButton { text: S.cancel; showsFocus: true } }
    BoardCell { caption: "pressed"; MacButton { text: S.cancel; down: true } }
    BoardCell { caption: "disabled"; MacButton { text: S.cancel; enabled: false } }
    BoardCell { caption: "too narrow"; MacButton { width: 90; text: S.openSystemSettings } }
    BoardCell { caption: "start"; MacButton { width: parent.width; text: S.startRecording; iconName: "record.circle.fill"; fill: Color.crAccent; corner: 8; padding: 8; font.pixelSize: TextSize.heading; font.weight: Font.Medium } }
    BoardCell { caption: "stop"; MacButton { width: parent.width; text: S.stopRecording; iconName: "stop.circle.fill"; fill: Color.recording; corner: 8; padding: 8; font.pixelSize: TextSize.heading; font.weight: Font.Medium } }
    BoardCell { caption: "start, focus"; MacButton { width: parent.width; text: S.startRecording; iconName: "record.circle.fill"; fill: Color.crAccent; corner: 8; padding: 8; font.pixelSize: TextSize.heading; font.weight: Font.Medium; showsFocus: true } }
    BoardCell { caption: "corner, chosen"; MacButton { width: parent.width; text: S.topLeft; fill: Qt.alpha(Color.crAccent, 0.85); outline: Qt.rgba(1, 1, 1, 0.1); verticalPadding: 5; font.pixelSize: 11 } }
    BoardCell { caption: "corner"; MacButton { width: parent.width; text: S.topRight; outline: Qt.rgba(1, 1, 1, 0.1); verticalPadding: 5; font.pixelSize: 11 } }
}
