import QtQuick
import Cobaltreel.Windows

/// The cells of one control.
Grid {
    required property InterfaceSettings settings

    padding: 20
    columns: 3
    spacing: 20
}
