#pragma once

#include "Rig/Eventually.hpp"

#include <QCoreApplication>
#include <QEvent>

namespace cobaltreel {

inline void runQtEvents() {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

/// Waits while the events of the toolkit go on.
template <typename Condition>
bool eventually(Condition condition) {
    return platform::eventually(condition, runQtEvents);
}

}  // namespace cobaltreel
