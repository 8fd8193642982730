#include "StallWatch.hpp"

#include <algorithm>
#include <fstream>

namespace cobaltreel::benchmarks {
namespace {

constexpr double period = 0.005;  // seconds

/// How long this thread has waited for a processor so far, seconds.
double waitedForProcessor() {
    std::ifstream file("/proc/thread-self/schedstat");
    double ran = 0, waited = 0;
    file >> ran >> waited;
    return waited / 1e9;
}

}  // namespace

StallWatch::StallWatch(platform::Clock& clock) : clock_(clock) {
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] { beat(); });
    restart();
    timer_.start(static_cast<int>(period * 1000));
}

void StallWatch::restart() {
    last_ = clock_.now();
    lastWaited_ = waitedForProcessor();
    longest_ = longestOwn_ = 0;
}

void StallWatch::beat() {
    const double now = clock_.now(), waited = waitedForProcessor();
    const double away = now - last_ - period;
    longest_ = std::max(longest_, away);
    longestOwn_ = std::max(longestOwn_, away - (waited - lastWaited_));
    last_ = now;
    lastWaited_ = waited;
}

}  // namespace cobaltreel::benchmarks
