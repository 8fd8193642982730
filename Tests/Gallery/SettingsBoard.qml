import QtQuick
import Cobaltreel.SettingsWindow

SettingsView {
    implicitWidth: 320
    implicitHeight: 140
}
