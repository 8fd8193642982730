import QtQuick
import Cobaltreel.PopoverView
import Cobaltreel.Windows

PopoverView {
    required property InterfaceSettings settings
}
