pragma Singleton

import QtQuick

/// The sizes of text, in points of the interface.
QtObject {
    readonly property int caption2: 10
    readonly property int caption: 10
    readonly property int tight: 11
    readonly property int small: 12
    readonly property int body: 13
    readonly property int heading: 15
    readonly property int title2: 17
}
