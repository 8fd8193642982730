import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// The board named by `shown`: one control in all its states.
Item {
    id: boards

    required property InterfaceSettings settings
    required property string shown
    /// Whether what opens by itself is open, and the board may be drawn.
    readonly property bool settled: board.item?.settled ?? true

    implicitWidth: board.implicitWidth
    implicitHeight: board.implicitHeight

    Loader {
        id: board

        sourceComponent: ({switches, sliders, segments, dropdowns, menu, rows, bars, buttons, icons, tips})[boards.shown]
    }

    component Board: Grid {
        padding: 20
        columns: 3
        spacing: 20
    }

    Component {
        id: switches

        Board {
            columns: 4

            BoardCell { caption: "off"; room: 90; MacSwitch { isOn: false } }
            BoardCell { caption: "focus"; room: 90; MacSwitch { isOn: false; showsFocus: true } }
            BoardCell { caption: "disabled"; room: 90; MacSwitch { isOn: false; enabled: false } }
            BoardCell { caption: "halfway"; room: 90; MacSwitch { isOn: false; position: 0.5 } }
            BoardCell { caption: "on"; room: 90; MacSwitch { isOn: true } }
            BoardCell { caption: "focus"; room: 90; MacSwitch { isOn: true; showsFocus: true } }
            BoardCell { caption: "disabled"; room: 90; MacSwitch { isOn: true; enabled: false } }
        }
    }
    Component {
        id: sliders

        Board {
            BoardCell { caption: "0"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0 } }
            BoardCell { caption: "0.3"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0.3 } }
            BoardCell { caption: "1"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 1 } }
            BoardCell { caption: "focus"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0.6; showsFocus: true } }
            BoardCell { caption: "disabled"; MacSlider { width: parent.width; lowerBound: 0; upperBound: 1; value: 0.6; enabled: false } }
            BoardCell { caption: "no range"; MacSlider { width: parent.width; lowerBound: 3; upperBound: 3; value: 3 } }
        }
    }
    Component {
        id: segments

        Board {
            id: segmentBoard

            readonly property var styles: [{value: 0, title: S.bubble}, {value: 1, title: S.cutout}]
            readonly property var qualities: [
                {value: 0, title: S.quality720}, {value: 1, title: S.quality1080}, {value: 2, title: S.qualityFull}
            ]

            columns: 2

            BoardCell { caption: "first"; room: 292; MacSegmented { width: 170; options: segmentBoard.styles; selection: 0 } }
            BoardCell { caption: "last"; room: 292; MacSegmented { width: 170; options: segmentBoard.styles; selection: 1 } }
            BoardCell { caption: "none"; room: 292; MacSegmented { width: 170; options: segmentBoard.styles; selection: 7 } }
            BoardCell { caption: "focus"; room: 292; MacSegmented { width: 170; options: segmentBoard.styles; selection: 0; showsFocus: true } }
            BoardCell { caption: "disabled"; room: 292; MacSegmented { width: 170; options: segmentBoard.styles; selection: 0; enabled: false } }
            BoardCell { caption: "natural width"; room: 292; MacSegmented { options: segmentBoard.styles; selection: 1 } }
            BoardCell { caption: "full width"; room: 292; MacSegmented { width: 292; options: segmentBoard.styles; selection: 1 } }
            BoardCell { caption: "too narrow"; room: 292; MacSegmented { width: 230; options: segmentBoard.qualities; selection: 1 } }
            BoardCell { caption: "natural width"; room: 480; MacSegmented { options: segmentBoard.qualities; selection: 1 } }
        }
    }
    Component {
        id: dropdowns

        Board {
            columns: 2

            BoardCell { caption: "closed"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: [] } }
            BoardCell { caption: "focus"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: []; showsFocus: true } }
            BoardCell { caption: "disabled"; room: 292; MacDropdown { width: parent.width; text: S.camera; content: []; enabled: false } }
            BoardCell { caption: "too long"; room: 292; MacDropdown { width: parent.width; text: "HD Pro Webcam C920 with a very long description (046d:082d)"; content: [] } }
            BoardCell { caption: "natural width"; room: 292; MacDropdown { text: S.fullScreen; content: [] } }
            BoardCell { caption: "label alone"; room: 292; MacMenuLabel { width: parent.width; text: S.microphone } }
        }
    }
    Component {
        id: menu

        Item {
            readonly property bool settled: dropdown.isOpen

            implicitWidth: 332
            implicitHeight: 190
            onVisibleChanged: opening.running = visible

            Timer {
                id: opening

                interval: 0
                running: true
                onTriggered: dropdown.open()
            }
            MacDropdown {
                id: dropdown

                x: 20
                y: 20
                width: 292
                text: S.camera
                selection: "b"
                content: [
                    {value: "a", title: S.camera + " 1"},
                    {value: "b", title: S.camera + " 2"},
                    {value: "c", title: "HD Pro Webcam C920 with a very long description (046d:082d)"},
                    {value: "d", title: "Screen — " + S.fullScreen}
                ]
            }
        }
    }
    Component {
        id: rows

        Board {
            columns: 2

            BoardCell { caption: "together"; MacToggleRow { label: S.camera; isOn: true; stretch: false } }
            BoardCell { caption: "together, off"; MacToggleRow { label: S.mirror; isOn: false; stretch: false } }
            BoardCell { caption: "stretched"; MacToggleRow { width: parent.width; label: S.systemAudio; isOn: true; stretch: true } }
            BoardCell { caption: "stretched, off"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: false; stretch: true } }
            BoardCell { caption: "focus"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: true; stretch: true; showsFocus: true } }
            BoardCell { caption: "disabled"; MacToggleRow { width: parent.width; label: S.autoZoom; isOn: true; stretch: true; enabled: false } }
            BoardCell { caption: "too narrow"; MacToggleRow { width: 110; label: S.clickHighlights; isOn: true; stretch: false } }
        }
    }
    Component {
        id: bars

        Board {
            BoardCell { caption: "-0.2"; MacProgressBar { width: parent.width; value: -0.2 } }
            BoardCell { caption: "0.02"; MacProgressBar { width: parent.width; value: 0.02 } }
            BoardCell { caption: "0.4"; MacProgressBar { width: parent.width; value: 0.4 } }
            BoardCell { caption: "1.4"; MacProgressBar { width: parent.width; value: 1.4 } }
            BoardCell { caption: "disabled"; MacProgressBar { width: parent.width; value: 0.4; enabled: false } }
        }
    }
    Component {
        id: buttons

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
    }
    Component {
        id: icons

        Board {
            columns: 8

            Repeater {
                model: 5 * 8

                Icon {
                    required property int index
                    readonly property int side: [9, 12, 17, 22, 48][Math.floor(index / 8)]

                    name: [
                        "record.circle", "record.circle.fill", "stop.circle.fill", "gearshape", "circle",
                        "checkmark.circle.fill", "check", "chevron.up.chevron.down"
                    ][index % 8]
                    width: side
                    height: side
                    color: name === "checkmark.circle.fill" ? Color.crSwitchOn : Color.text
                }
            }
        }
    }
    Component {
        id: tips

        Item {
            id: tipBoard

            readonly property bool settled: shortTip.opened && longTip.opened

            implicitWidth: 320
            implicitHeight: 150

            MacButton {
                x: tipBoard.LayoutMirroring.enabled ? 320 - 20 - width : 20
                y: 16
                iconName: "gearshape"
                Accessible.name: S.settings

                Tip { id: shortTip; delay: 0; text: S.settings; visible: true }
            }
            ControlText {
                x: 20
                y: 80
                width: 280
                label: S.exportNote

                Tip { id: longTip; delay: 0; text: S.exportNote; visible: true }
            }
        }
    }
}
