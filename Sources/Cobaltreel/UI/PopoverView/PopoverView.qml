pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.PopoverView

/// The panel under the status item. As tall as its content up to 640 points; then it scrolls.
FocusScope {
    id: view

    required property PopoverModel model
    readonly property Item focused: Window.activeFocusItem
    readonly property real contentHeight: content.implicitHeight + 2 * 14

    implicitWidth: 320
    implicitHeight: Math.min(contentHeight, 640)
    focus: true
    Keys.onReturnPressed: model.toggle()
    Keys.onEnterPressed: model.toggle()
    onFocusedChanged: reveal(focused)

    /// Scrolls to the control that the keyboard has moved to.
    function reveal(item: Item) {
        let inside = item;
        while (inside && inside !== content)
            inside = inside.parent;
        if (!inside)
            return;
        const top = item.mapToItem(content, 0, 0).y;
        const highest = Math.max(0, Math.min(top, scroll.contentHeight - scroll.height));
        const lowest = Math.max(0, top + item.height + 2 * 14 - scroll.height);
        if (scroll.contentY > highest || scroll.contentY < lowest)
            scroll.contentY = scroll.contentY > highest ? highest : lowest;
    }

    Flickable {
        id: scroll

        anchors.fill: parent
        contentWidth: width
        contentHeight: view.contentHeight
        interactive: contentHeight > height
        boundsBehavior: Flickable.StopAtBounds
        flickableDirection: Flickable.VerticalFlick
        clip: interactive
        T.ScrollBar.vertical: ThinScrollBar {}

        Column {
            id: content

            x: 14
            y: 14
            width: scroll.width - 2 * 14
            spacing: 8

            MacButton {
                width: parent.width
                text: view.model.recording ? S.stopRecording : S.startRecording
                iconName: view.model.recording ? "stop.circle.fill" : "record.circle.fill"
                fill: view.model.recording ? Color.recording : Color.crAccent
                corner: 8
                padding: 8
                font.pixelSize: TextSize.heading
                font.weight: Font.Medium
                onClicked: view.model.toggle()
            }
            MacSegmented {
                width: parent.width
                enabled: view.model.choosing
                selection: view.model.mode
                options: [{value: "display", title: S.fullScreen}, {value: "window", title: S.window}]
                Accessible.name: S.whatToRecord
                onEdited: mode => view.model.mode = mode
            }
            MacDropdown {
                width: parent.width
                enabled: view.model.choosing && view.model.window.items.length > 0
                visible: view.model.mode === "window"
                name: S.window
                text: view.model.window.text
                content: view.model.window.items
                selection: view.model.window.selection
                onChosen: windowID => view.model.chooseWindow(windowID)
            }
            MacDropdown {
                width: parent.width
                enabled: view.model.choosing
                visible: view.model.mode === "display" && view.model.display.items.length >= 2
                name: S.fullScreen
                text: view.model.display.text
                content: view.model.display.items
                selection: view.model.display.selection
                onChosen: displayID => view.model.chooseDisplay(displayID)
            }
            Rectangle {
                width: parent.width
                height: 1
                color: Color.separator
            }
            CameraSection {
                width: parent.width
                enabled: view.model.choosing
                model: view.model
            }
            Column {
                width: parent.width
                spacing: 6

                MacDropdown {
                    width: parent.width
                    enabled: view.model.choosing && view.model.mic.items.length > 0
                    name: S.microphone
                    text: view.model.mic.text
                    content: view.model.mic.items
                    selection: view.model.mic.selection
                    onChosen: uniqueID => view.model.chooseMic(uniqueID)
                }
                MacProgressBar {
                    width: parent.width
                    value: view.model.micLevel
                    Accessible.name: S.microphone
                }
                ControlText {
                    width: parent.width
                    visible: label !== ""
                    label: view.model.notice
                    color: Color.warning
                    font.pixelSize: TextSize.tight
                    wrapMode: Text.WordWrap
                    maximumLineCount: 8
                }
            }
            MacToggleRow {
                width: parent.width
                enabled: view.model.choosing
                label: S.systemAudio
                isOn: view.model.systemAudioEnabled
                stretch: true
                onEdited: isOn => view.model.systemAudioEnabled = isOn
            }
            MacToggleRow {
                width: parent.width
                enabled: view.model.choosing
                label: S.autoZoom
                isOn: view.model.autoZoomEnabled
                stretch: true
                onEdited: isOn => view.model.autoZoomEnabled = isOn
            }
            Rectangle {
                width: parent.width
                height: 1
                color: Color.separator
            }
            Item {
                width: parent.width
                implicitHeight: Math.max(quitButton.implicitHeight, settingsButton.implicitHeight)

                MacButton {
                    id: quitButton

                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    text: S.quit
                    onClicked: view.model.quit()
                }
                MacButton {
                    id: settingsButton

                    anchors.left: quitButton.right
                    anchors.leftMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    iconName: "gearshape"
                    verticalPadding: 5
                    tip: S.settings
                    onClicked: view.model.openSettings()
                }
                ControlText {
                    id: shortcut

                    anchors.left: settingsButton.right
                    anchors.leftMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    label: S.shortcut
                    meaning: S.shortcutMeaning
                    color: Color.secondaryText
                    font.pixelSize: TextSize.caption
                }
                VersionEggView {
                    anchors.left: shortcut.right
                    anchors.leftMargin: 8
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    egg: view.model.egg
                }
            }
        }
    }
}
