import QtQuick
import Cobaltreel.Controls
import Cobaltreel.Windows

/// The root of every window: gives `content` its layout direction and, when the language changes, throws
/// it away and builds it again. View-local state starts from nothing.
Rectangle {
    id: root

    required property InterfaceSettings settings
    /// The view to show and the values of its required properties.
    required property url content
    property var contentProperties: ({})
    readonly property Item contentItem: loader.item as Item

    LayoutMirroring.enabled: settings.rightToLeft
    LayoutMirroring.childrenInherit: true
    color: Color.window
    implicitWidth: loader.implicitWidth
    implicitHeight: loader.implicitHeight

    Component.onCompleted: build()

    function build() {
        loader.setSource("");
        loader.setSource(content, contentProperties);
    }

    Binding {
        target: Words
        property: "unavailable"
        value: S.unavailable
    }
    Connections {
        target: root.settings
        function onLanguageChanged() {
            root.build();
        }
    }
    Loader {
        id: loader

        anchors.fill: parent
        focus: true
    }
}
