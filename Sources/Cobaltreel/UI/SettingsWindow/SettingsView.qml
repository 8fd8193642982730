import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// The content of the settings window.
Item {
    id: view

    required property InterfaceSettings settings

    implicitWidth: 320
    implicitHeight: column.implicitHeight + 2 * 16

    Column {
        id: column

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 16
        spacing: 12

        ControlText {
            anchors.left: parent.left
            label: S.settings
            font.pixelSize: TextSize.heading
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Item {
            anchors.left: parent.left
            anchors.right: parent.right
            implicitHeight: Math.max(label.implicitHeight, choice.implicitHeight)

            ControlText {
                id: label

                anchors.left: parent.left
                anchors.right: choice.left
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                horizontalAlignment: Text.AlignLeft
                label: S.language
            }
            MacSegmented {
                id: choice

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 170
                selection: view.settings.language
                options: view.settings.languages
                Accessible.name: S.language
                onEdited: value => view.settings.language = value
            }
        }
    }
}
