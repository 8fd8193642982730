import QtQuick
import QtQuick.Templates as T

/// A thin bar over the edge of what scrolls, there as long as there is more than can be seen.
T.ScrollBar {
    id: bar

    padding: 3
    visible: size < 1
    implicitWidth: contentItem.implicitWidth + 2 * padding
    contentItem: Rectangle {
        implicitWidth: 5
        radius: 2.5
        color: Qt.rgba(1, 1, 1, bar.pressed ? 0.6 : 0.35)
    }
}
