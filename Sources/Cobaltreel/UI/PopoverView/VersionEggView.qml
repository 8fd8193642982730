import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.PopoverView

/// The version at the trailing end of the place it is given.
Item {
    id: line

    required property VersionEgg egg

    implicitHeight: version.implicitHeight

    MouseArea {
        anchors.fill: parent
        onClicked: line.egg.tap()
    }
    ControlText {
        id: version

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        label: S.version
        color: Color.secondaryText
        font.pixelSize: TextSize.caption2
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Math.ceil(0.75 * TextSize.caption2)
        opacity: line.egg.showEgg ? 0 : 1
        visible: opacity > 0

        Behavior on opacity {
            NumberAnimation {
                duration: 200
                easing.type: Easing.InOutQuad
            }
        }
    }
    ControlText {
        anchors.fill: version
        horizontalAlignment: Text.AlignRight
        label: S.versionEgg
        color: version.color
        font.pixelSize: TextSize.caption2
        fontSizeMode: version.fontSizeMode
        minimumPixelSize: version.minimumPixelSize
        opacity: line.egg.showEgg ? 1 : 0
        visible: opacity > 0

        Behavior on opacity {
            NumberAnimation {
                duration: 200
                easing.type: Easing.InOutQuad
            }
        }
    }
}
