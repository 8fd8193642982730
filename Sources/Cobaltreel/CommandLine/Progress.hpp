#pragma once

#include <chrono>
#include <string>

namespace cobaltreel {

/// A bar with the share done and the time left on standard error; silent when that is not a terminal.
/// Used on one thread at a time.
class Progress {
  public:
    explicit Progress(std::string label);
    /// Removes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `share` is 0 to 1; drawn at most ten times a second.
    void show(double share);
    /// One line of free text in the bar's place.
    void status(const std::string& text);

  private:
    using Moment = std::chrono::steady_clock::time_point;
    std::string label_;
    bool terminal_;
    bool drawn_ = false;
    Moment begun_;
    Moment lastDrawn_{};
};

/// Seconds as "4:05", hours in front when there are any.
std::string minutesAndSeconds(double seconds);

}  // namespace cobaltreel
