pragma ComponentBehavior: Bound

import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.PreviewWindow

/// The recording as it plays, its camera in a corner and the controls of a player over it. Time runs from
/// left to right in every language.
FocusScope {
    id: view

    required property PreviewModel model
    readonly property bool showsControls: !model.isPlaying || hover.hovered || controls.activeFocus
    readonly property alias screen: screen

    implicitWidth: 640
    implicitHeight: 340
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true
    Accessible.role: Accessible.Pane
    Accessible.name: S.preview

    HoverHandler {
        id: hover
    }
    Rectangle {
        anchors.fill: parent
        color: "black"
    }
    PictureView {
        id: screen

        objectName: "screen"
        anchors.fill: parent
        source: view.model.screenPictures
        focus: true

        MouseArea {
            anchors.fill: parent
            onClicked: {
                screen.forceActiveFocus(Qt.MouseFocusReason);
                view.model.togglePlay();
            }
        }
    }
    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * 40
        spacing: 6
        visible: view.model.playbackProblem !== ""

        ControlText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            label: S.cannotPlay
            font.pixelSize: TextSize.heading
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: view.model.playbackProblem
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            maximumLineCount: 6
            elide: Text.ElideRight
            color: Color.secondaryText
            font.pixelSize: TextSize.small
        }
    }
    Item {
        id: overlay

        readonly property bool isCutout: view.model.cameraStyle === "cutout"

        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.margins: 12
        width: view.model.cameraPictures === null ? 0 : isCutout ? 156 : 88
        height: 88
        visible: width > 0
        Accessible.role: Accessible.Graphic
        Accessible.name: S.camera

        CircularBubbleView {
            objectName: "circularBubble"
            anchors.fill: parent
            visible: !overlay.isCutout
            source: visible ? view.model.cameraPictures : null
        }
        CutoutBubbleView {
            objectName: "cutoutBubble"
            anchors.fill: parent
            visible: overlay.isCutout
            model: visible ? view.model : null
        }
    }
    FocusScope {
        id: controls

        anchors.left: overlay.visible ? overlay.right : parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 12
        height: 36
        // Faded, not gone: the keyboard may come to them, and shows them by it.
        opacity: view.showsControls ? 1 : 0

        Behavior on opacity {
            NumberAnimation {
                duration: 150
            }
        }
        SmoothRectangle {
            anchors.fill: parent
            color: Qt.rgba(0.1, 0.1, 0.1, 0.78)
            radius: 9
        }
        MacButton {
            id: play

            objectName: "playButton"
            anchors.left: parent.left
            anchors.leftMargin: 6
            anchors.verticalCenter: parent.verticalCenter
            iconName: view.model.isPlaying ? "pause.fill" : "play.fill"
            tip: view.model.isPlaying ? S.pause : S.play
            fill: "transparent"
            font.pixelSize: TextSize.heading
            onClicked: view.model.togglePlay()
        }
        ControlText {
            id: now

            anchors.left: play.right
            anchors.leftMargin: 4
            anchors.verticalCenter: parent.verticalCenter
            width: Math.ceil(digits.advanceWidth) + 1
            horizontalAlignment: Text.AlignRight
            label: view.model.mmss(view.model.position)
            font.pixelSize: TextSize.small
        }
        MacSlider {
            id: timeLine

            objectName: "timeLine"
            anchors.left: now.right
            anchors.right: whole.left
            anchors.margins: 10
            anchors.verticalCenter: parent.verticalCenter
            lowerBound: 0
            upperBound: view.model.duration
            value: ControlMath.clamped(view.model.position, 0, view.model.duration)
            step: 1 / 30
            Accessible.name: S.position
            onEdited: value => view.model.goTo(value)

            // What the trim keeps.
            Rectangle {
                // The way of the knob's centre.
                readonly property real room: timeLine.width - 16

                x: 8 + room * ControlMath.fraction(view.model.trimStart, 0, view.model.duration)
                width: Math.max(2, 8 + room * ControlMath.fraction(view.model.trimEnd, 0, view.model.duration) - x)
                // The lower edge of the track.
                y: parent.height / 2 + 1
                z: -1
                height: 3
                radius: 1.5
                color: Color.kept
            }
        }
        Repeater {
            model: {
                // Both change what there is to show.
                S.marker;
                view.model.markers.count;
                return view.model.markers.placesIn(timeLine.width - 16);
            }

            Item {
                id: marker

                required property var modelData

                objectName: "marker"
                // Above the way of the knob's centre.
                x: timeLine.x + 8 + (timeLine.width - 16) * modelData.fraction - width / 2
                y: 1
                width: 14
                height: 12
                Accessible.role: Accessible.Button
                Accessible.name: modelData.label
                Accessible.onPressAction: view.model.goTo(modelData.time)

                SmoothRectangle {
                    anchors.bottom: parent.bottom
                    anchors.horizontalCenter: parent.horizontalCenter
                    width: over.hovered ? 6 : 4
                    height: 9
                    radius: 2
                    color: over.hovered ? Color.text : Color.focusRing
                }
                HoverHandler {
                    id: over
                }
                TapHandler {
                    onTapped: view.model.goTo(marker.modelData.time)
                }
                Tip {
                    visible: over.hovered
                    delay: 200
                    y: -height - 4
                    text: marker.modelData.label
                }
            }
        }
        ControlText {
            id: whole

            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            label: view.model.mmss(view.model.duration)
            font.pixelSize: TextSize.small
            color: Color.secondaryText
        }
        TextMetrics {
            id: digits

            font: now.font
            text: view.model.mmss(view.model.duration).replace(/[0-9]/g, "0")
        }
    }
}
