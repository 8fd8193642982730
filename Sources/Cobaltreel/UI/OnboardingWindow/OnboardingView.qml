import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows
import Cobaltreel.OnboardingWindow

/// The content of the onboarding window: a card for each permission.
Item {
    id: view

    required property OnboardingModel permissions

    implicitWidth: 560
    implicitHeight: column.implicitHeight + 2 * 24

    Column {
        id: column

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 24
        spacing: 16

        ControlText {
            anchors.left: parent.left
            label: S.onboardingHeading
            font.pixelSize: TextSize.title2
            Accessible.role: Accessible.Heading
        }
        PermissionCard {
            width: column.width
            title: S.screenRecording
            granted: view.permissions.screenGranted
            showRelaunch: true
            onGrant: view.permissions.requestScreen()
            onSettings: view.permissions.openSettings("Privacy_ScreenCapture")
            onRelaunch: view.permissions.relaunch()
        }
        PermissionCard {
            width: column.width
            title: S.camera
            granted: view.permissions.cameraGranted
            onGrant: view.permissions.requestCamera()
            onSettings: view.permissions.openSettings("Privacy_Camera")
        }
        PermissionCard {
            width: column.width
            title: S.microphone
            granted: view.permissions.micGranted
            onGrant: view.permissions.requestMic()
            onSettings: view.permissions.openSettings("Privacy_Microphone")
        }
        ControlText {
            width: column.width
            visible: label !== ""
            horizontalAlignment: Text.AlignLeft
            label: view.permissions.hint
            color: Color.warning
            font.pixelSize: TextSize.tight
            wrapMode: Text.WordWrap
            maximumLineCount: 8
        }
    }
}
