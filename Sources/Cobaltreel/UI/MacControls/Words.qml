pragma Singleton

import QtQuick

/// What the controls themselves tell assistive technology. Who knows the user's language sets it.
QtObject {
    /// Of a control that cannot be used: older toolkits do not tell that by themselves.
    property string unavailable: ""
}
