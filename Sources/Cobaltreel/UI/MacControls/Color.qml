pragma Singleton

import QtQuick

/// The colors of the interface, in sRGB. All of it is dark.
QtObject {
    readonly property color crAccent: Qt.rgba(0, 0.48, 1, 1)
    readonly property color crSwitchOn: Qt.rgba(0.2, 0.78, 0.35, 1)
    readonly property color crTrackOff: Qt.rgba(0.3, 0.3, 0.3, 1)
    readonly property color crFill: Qt.rgba(0.24, 0.24, 0.24, 1)
    readonly property color crFillSoft: Qt.rgba(0.16, 0.16, 0.16, 1)

    readonly property color segmentSelected: Qt.rgba(0.42, 0.42, 0.42, 1)
    readonly property color levelTrack: Qt.rgba(0.28, 0.28, 0.28, 1)
    readonly property color button: Qt.rgba(0.26, 0.26, 0.26, 1)
    readonly property color recording: Qt.rgba(1, 0.27, 0.23, 1)

    readonly property color window: Qt.rgba(0.12, 0.12, 0.12, 1)
    readonly property color menu: Qt.rgba(0.19, 0.19, 0.19, 1)
    readonly property color text: Qt.rgba(1, 1, 1, 0.88)
    readonly property color secondaryText: Qt.rgba(1, 1, 1, 0.6)
    readonly property color separator: Qt.rgba(1, 1, 1, 0.12)
    readonly property color fieldBorder: Qt.rgba(1, 1, 1, 0.2)
    readonly property color kept: Qt.rgba(1, 0.8, 0, 0.9)
    readonly property color warning: Qt.rgba(1, 0.8, 0, 1)
    readonly property color focusRing: Qt.rgba(0.42, 0.71, 1, 1)
}
