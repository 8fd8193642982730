#pragma once

#include "Platform/Foundation/Clock.hpp"

#include <QTimer>

namespace cobaltreel::benchmarks {

/// The main thread's longest absence from its events, seen by a beat of five milliseconds; and the longest
/// without the time for which other programs had the processors. Lives on the main thread.
class StallWatch {
  public:
    explicit StallWatch(platform::Clock& clock);

    void restart();
    double longestMs() const { return 1000 * longest_; }
    double longestOwnMs() const { return 1000 * longestOwn_; }

  private:
    void beat();

    platform::Clock& clock_;
    QTimer timer_;
    double last_ = 0, lastWaited_ = 0;  ///< seconds
    double longest_ = 0, longestOwn_ = 0;
};

}  // namespace cobaltreel::benchmarks
