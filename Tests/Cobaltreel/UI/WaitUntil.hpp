#pragma once

#include <QTest>

namespace cobaltreel {

/// Waits, with events running, until the condition holds; false when it does not within fifteen seconds.
template <typename Condition>
bool waitUntil(Condition condition) {
    return QTest::qWaitFor(condition, 15000);
}

}  // namespace cobaltreel
