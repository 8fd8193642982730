pragma ComponentBehavior: Bound

import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Alerts

/// An alert in the warning style. Return chooses the first button, Escape the last.
FocusScope {
    id: view

    required property AlertContent alert

    implicitWidth: 420
    implicitHeight: content.implicitHeight + 2 * 20
    focus: true
    Accessible.role: Accessible.AlertMessage
    Accessible.name: alert.message
    Accessible.description: alert.informativeText
    Keys.onEscapePressed: alert.dismiss()
    Keys.onReturnPressed: alert.choose(0)
    Keys.onEnterPressed: alert.choose(0)

    Column {
        id: content

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 20
        spacing: 18

        Item {
            anchors.left: parent.left
            anchors.right: parent.right
            implicitHeight: Math.max(sign.height, words.implicitHeight)

            Icon {
                id: sign

                anchors.left: parent.left
                anchors.top: parent.top
                width: 40
                height: 40
                name: "exclamationmark.triangle.fill"
                color: Color.warning
            }
            Column {
                id: words

                anchors.left: sign.right
                anchors.right: parent.right
                anchors.leftMargin: 16
                spacing: 6

                Text {
                    anchors.left: parent.left
                    anchors.right: parent.right
                    horizontalAlignment: Text.AlignLeft
                    text: TextDirection.laidOut(view.alert.message, view.LayoutMirroring.enabled)
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                    color: Color.text
                    font.pixelSize: TextSize.body
                    font.weight: Font.DemiBold
                    Accessible.ignored: true
                }
                Text {
                    anchors.left: parent.left
                    anchors.right: parent.right
                    horizontalAlignment: Text.AlignLeft
                    // A path or a library's sentence runs its own way whatever letters are in it.
                    text: view.alert.informativeText
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                    // A path without a blank in it breaks anywhere; a very long error stays a window.
                    maximumLineCount: 12
                    elide: Text.ElideRight
                    visible: text !== ""
                    color: Color.secondaryText
                    font.pixelSize: TextSize.small
                    Accessible.ignored: true
                }
            }
        }
        Flow {
            anchors.left: parent.left
            anchors.right: parent.right
            layoutDirection: Qt.RightToLeft
            spacing: 10

            Repeater {
                model: view.alert.buttons

                MacButton {
                    required property string modelData
                    required property int index

                    text: modelData
                    width: Math.max(84, Math.min(implicitWidth, view.width - 2 * 20))
                    fill: index === 0 ? Color.crAccent : Color.button
                    horizontalPadding: 14
                    verticalPadding: 6
                    font.pixelSize: TextSize.body
                    focus: index === 0
                    onClicked: view.alert.choose(index)
                }
            }
        }
    }
}
