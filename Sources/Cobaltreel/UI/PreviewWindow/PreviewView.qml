import QtQuick
import QtQuick.Templates as T
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.PreviewWindow

/// The content of the preview window: the recording, what is kept of it, how it is exported.
FocusScope {
    id: view

    required property PreviewModel model

    readonly property real frame: 1 / 30
    readonly property real minPicture: 120
    readonly property Item focused: Window.activeFocusItem

    implicitWidth: 700
    implicitHeight: 720
    focus: true

    /// Scrolls to the control that the keyboard has moved to.
    onFocusedChanged: {
        let inside = focused;
        while (inside && inside !== choices)
            inside = inside.parent;
        if (!inside || !scroll.interactive)
            return;
        const top = focused.mapToItem(scroll.contentItem, 0, 0).y;
        scroll.contentY = Math.max(0, Math.min(Math.max(scroll.contentY, top + focused.height + 16 - scroll.height), top - 16));
    }
    function exportOnReturn() {
        if (!model.exporting && !model.isExported)
            model.exportMovie();
    }

    /// A frame, with Shift a second, with Ctrl to the next marker.
    function answerArrow(event: KeyEvent, forward: bool) {
        if (event.modifiers & Qt.ControlModifier)
            model.goToMarker(forward);
        else
            model.step((event.modifiers & Qt.ShiftModifier ? 1 : frame) * (forward ? 1 : -1));
    }

    Keys.onSpacePressed: event => {
        if (!event.isAutoRepeat)
            model.togglePlay();
    }
    Keys.onLeftPressed: event => answerArrow(event, false)
    Keys.onRightPressed: event => answerArrow(event, true)
    Keys.onReturnPressed: exportOnReturn()
    Keys.onEnterPressed: exportOnReturn()

    Connections {
        target: view.model
        function onExportingChanged() {
            // The button that had the keyboard has gone.
            if (actions.activeFocus)
                player.screen.forceActiveFocus(Qt.OtherFocusReason);
        }
    }
    // On a low screen the picture gives way first.
    Flickable {
        id: scroll

        anchors.fill: parent
        contentWidth: width
        contentHeight: Math.max(height, 2 * 16 + view.minPicture + choices.spacing + choices.implicitHeight)
        interactive: contentHeight > height
        boundsBehavior: Flickable.StopAtBounds
        clip: interactive
        T.ScrollBar.vertical: ThinScrollBar {}

        PlayerView {
            id: player

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: 16
            height: Math.max(view.minPicture, view.height - 2 * 16 - choices.implicitHeight - choices.spacing)
            model: view.model
            focus: true
        }
        Column {
            id: choices

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: player.bottom
            anchors.leftMargin: 16
            anchors.rightMargin: 16
            anchors.topMargin: spacing
            spacing: 10

            ControlText {
                objectName: "missingDevices"
                anchors.left: parent.left
                anchors.right: parent.right
                visible: label !== ""
                label: view.model.missingDevices
                color: Color.warning
                font.pixelSize: TextSize.small
                horizontalAlignment: Text.AlignLeft
                maximumLineCount: 3
            }
            TrimRow {
                id: start

                objectName: "trimStart"
                anchors.left: parent.left
                anchors.right: parent.right
                label: S.trimStart
                labelWidth: Math.max(start.labelImplicitWidth, end.labelImplicitWidth)
                value: view.model.trimStart
                time: view.model.mmss(view.model.trimStart)
                tenths: view.model.tenths(view.model.trimStart)
                lowerBound: 0
                upperBound: view.model.trimStartLimit
                onEdited: value => view.model.trimStart = value
            }
            TrimRow {
                id: end

                objectName: "trimEnd"
                anchors.left: parent.left
                anchors.right: parent.right
                label: S.trimEnd
                labelWidth: start.labelWidth
                value: view.model.trimEnd
                time: view.model.mmss(view.model.trimEnd)
                tenths: view.model.tenths(view.model.trimEnd)
                lowerBound: view.model.trimEndLimit
                upperBound: view.model.duration
                onEdited: value => view.model.trimEnd = value
            }
            Row {
                id: options

                readonly property real content: 4 * 38 + style.width + zoom.labelWidth + camera.labelWidth
                                                + ripples.labelWidth + sound.labelWidth
                // The longest labels leave less than the usual room: what belongs together moves closer, too.
                readonly property real gap: choices.width - content < 4 * 16 + 4 * 8 ? 5 : 8

                anchors.horizontalCenter: parent.horizontalCenter
                spacing: Math.max(4, Math.min(16, Math.floor((choices.width - content - 4 * gap) / 4)))

                MacToggleRow {
                    id: zoom

                    objectName: "autoZoom"
                    anchors.verticalCenter: parent.verticalCenter
                    width: implicitWidth
                    label: S.autoZoom
                    isOn: view.model.autoZoom
                    stretch: false
                    textSize: TextSize.small
                    gap: options.gap
                    onEdited: isOn => view.model.autoZoom = isOn
                }
                MacToggleRow {
                    id: camera

                    objectName: "camera"
                    anchors.verticalCenter: parent.verticalCenter
                    width: implicitWidth
                    label: S.camera
                    isOn: view.model.bubble
                    stretch: false
                    textSize: TextSize.small
                    gap: options.gap
                    onEdited: isOn => view.model.bubble = isOn
                }
                MacSegmented {
                    id: style

                    objectName: "cameraStyle"
                    anchors.verticalCenter: parent.verticalCenter
                    width: 170
                    // It keeps its place: no switch moves away under the pointer.
                    opacity: view.model.bubble ? 1 : 0
                    enabled: view.model.bubble
                    selection: view.model.cameraStyle
                    options: [
                        {
                            value: "bubble",
                            title: S.bubble
                        },
                        {
                            value: "cutout",
                            title: S.cutout
                        }
                    ]
                    Accessible.name: S.cameraStyle
                    onEdited: value => view.model.cameraStyle = value
                }
                MacToggleRow {
                    id: ripples

                    objectName: "ripples"
                    anchors.verticalCenter: parent.verticalCenter
                    width: implicitWidth
                    label: S.clickHighlights
                    isOn: view.model.ripples
                    stretch: false
                    textSize: TextSize.small
                    gap: options.gap
                    onEdited: isOn => view.model.ripples = isOn
                }
                MacToggleRow {
                    id: sound

                    objectName: "systemAudio"
                    anchors.verticalCenter: parent.verticalCenter
                    width: implicitWidth
                    enabled: view.model.hasSystemAudio
                    label: S.systemAudio
                    isOn: view.model.systemAudio
                    stretch: false
                    textSize: TextSize.small
                    gap: options.gap
                    onEdited: isOn => view.model.systemAudio = isOn
                }
            }
            Item {
                anchors.left: parent.left
                anchors.right: parent.right
                implicitHeight: name.implicitHeight

                ControlText {
                    id: nameLabel

                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    width: start.labelWidth
                    horizontalAlignment: Text.AlignLeft
                    label: S.fileName
                    font.pixelSize: TextSize.small
                }
                MacTextField {
                    id: name

                    objectName: "filename"
                    anchors.left: nameLabel.right
                    anchors.right: parent.right
                    anchors.leftMargin: 12
                    value: view.model.filename
                    name: S.fileName
                    onEdited: value => view.model.filename = value
                }
            }
            Item {
                anchors.left: parent.left
                anchors.right: parent.right
                implicitHeight: quality.implicitHeight

                ControlText {
                    id: qualityLabel

                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    width: start.labelWidth
                    horizontalAlignment: Text.AlignLeft
                    label: S.quality
                    font.pixelSize: TextSize.small
                }
                MacSegmented {
                    id: quality

                    objectName: "quality"
                    anchors.left: qualityLabel.right
                    anchors.right: parent.right
                    anchors.leftMargin: 12
                    selection: view.model.quality
                    options: [
                        {
                            value: PreviewModel.P720,
                            title: S.quality720
                        },
                        {
                            value: PreviewModel.P1080,
                            title: S.quality1080
                        },
                        {
                            value: PreviewModel.Full,
                            title: S.qualityFull
                        }
                    ]
                    Accessible.name: S.quality
                    onEdited: value => view.model.quality = value
                }
            }
            ControlText {
                anchors.horizontalCenter: parent.horizontalCenter
                width: Math.min(implicitWidth, choices.width)
                label: view.model.exportedTo !== "" ? view.model.exportedTo : S.exportNote
                objectName: "note"
                // Of a long path the end is the file's name.
                elide: Text.ElideMiddle
                font.pixelSize: TextSize.caption
                color: Color.secondaryText
            }
            FocusScope {
                id: actions

                anchors.left: parent.left
                anchors.right: parent.right
                implicitHeight: 34

                Item {
                    anchors.fill: parent
                    visible: view.model.exporting

                    ControlText {
                        id: exporting

                        anchors.left: parent.left
                        anchors.verticalCenter: parent.verticalCenter
                        label: S.exporting
                        font.pixelSize: TextSize.small
                    }
                    MacProgressBar {
                        objectName: "progress"
                        anchors.left: exporting.right
                        anchors.right: timeLeft.left
                        anchors.leftMargin: 12
                        anchors.rightMargin: 12
                        anchors.verticalCenter: parent.verticalCenter
                        value: view.model.progress
                        Accessible.name: S.exporting
                    }
                    ControlText {
                        id: timeLeft

                        objectName: "timeLeft"
                        anchors.right: cancel.left
                        anchors.rightMargin: label === "" ? 0 : 12
                        anchors.verticalCenter: parent.verticalCenter
                        label: view.model.timeLeft
                        font.pixelSize: TextSize.small
                        color: Color.secondaryText
                    }
                    MacButton {
                        id: cancel

                        objectName: "cancelButton"
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        horizontalPadding: 14
                        verticalPadding: 5
                        font.pixelSize: TextSize.body
                        text: S.cancel
                        onClicked: view.model.cancel()
                    }
                }
                Row {
                    anchors.centerIn: parent
                    spacing: 10
                    visible: !view.model.exporting

                    MacButton {
                        objectName: "showButton"
                        anchors.verticalCenter: parent.verticalCenter
                        horizontalPadding: 14
                        verticalPadding: 5
                        font.pixelSize: TextSize.body
                        visible: view.model.isExported
                        text: S.showInFinder
                        meaning: S.showFileMeaning
                        onClicked: view.model.showInFinder()
                    }
                    MacButton {
                        readonly property bool large: !view.model.isExported

                        objectName: "exportButton"
                        anchors.verticalCenter: parent.verticalCenter
                        horizontalPadding: large ? 28 : 14
                        verticalPadding: large ? 7 : 5
                        corner: large ? 8 : 5
                        font.pixelSize: large ? TextSize.heading : TextSize.body
                        fill: large ? Color.crAccent : Color.button
                        text: S.exportMovie
                        onClicked: view.model.exportMovie()
                    }
                }
            }
        }
    }
}
