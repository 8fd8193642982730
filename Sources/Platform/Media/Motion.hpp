#pragma once

namespace platform {

/// How an item's time goes on: it stood at `time` when the clock read `at`, and moves by `rate`.
struct Motion {
    double time = 0;
    double at = 0;
    double rate = 0;

    double timeAt(double now) const { return time + (now - at) * rate; }
};

}  // namespace platform
