#pragma once

namespace platform {

/// The host clock: seconds of the machine's monotonic clock, the clock of every capture timestamp.
/// Only differences of its readings mean anything. Safe to read on any thread.
class Clock {
  public:
    virtual ~Clock() = default;
    virtual double now() const = 0;
};

/// CLOCK_MONOTONIC in seconds.
class HostClock final : public Clock {
  public:
    double now() const override;
};

}  // namespace platform
