#pragma once

#include "Platform/Media/Player.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace platform {

/// The observers of one kind of event. A callback may end any observation, its own included, and may
/// destroy the list. One thread.
template <class... Arguments>
class ObserverList {
  public:
    using Handler = std::function<void(Arguments...)>;

    ObserverList() = default;
    ObserverList(const ObserverList&) = delete;
    ObserverList& operator=(const ObserverList&) = delete;
    ~ObserverList() {
        for (const auto& entry : entries_)
            if (const auto kept = entry.lock()) kept->ended = true;
    }

    std::unique_ptr<Observation> add(Handler handler) {
        auto entry = std::make_shared<Entry>();
        entry->handler = std::move(handler);
        entries_.push_back(entry);
        return std::make_unique<Handle>(std::move(entry));
    }

    void notify(Arguments... arguments) {
        std::erase_if(entries_, [](const auto& entry) { return entry.expired(); });
        const auto entries = entries_;  // callbacks may change the list or end it
        for (const auto& entry : entries)
            if (const auto kept = entry.lock(); kept && !kept->ended) kept->handler(arguments...);
    }

  private:
    struct Entry {
        Handler handler;
        bool ended = false;
    };
    class Handle final : public Observation {
      public:
        explicit Handle(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
        ~Handle() override { entry_->ended = true; }
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;

      private:
        std::shared_ptr<Entry> entry_;
    };

    std::vector<std::weak_ptr<Entry>> entries_;
};

/// The observers of a player's time, each with an interval of its own. One thread.
class PeriodicObservers {
  public:
    std::unique_ptr<Observation> add(double interval, double now, Player::TimeHandler handler) {
        auto beat = std::make_shared<Beat>(Beat{interval, now + interval});
        beats_.push_back(beat);
        return list_.add([beat, handler = std::move(handler)](double time, bool jumped) {
            if (!jumped && time < beat->due - slack) return;
            // Called late, the beat keeps its phase.
            const double passed = jumped ? time : beat->due;
            beat->due = passed + beat->interval * (1 + std::floor((time - passed + slack) / beat->interval));
            handler(time);
        });
    }
    /// Playback has gone on to `time`.
    void advance(double time) { list_.notify(time, false); }
    /// Playback was started, stopped or moved, and stands at `time`.
    void jump(double time) { list_.notify(time, true); }
    /// The time at which somebody wants to be called next; infinite without observers.
    double nextDue() {
        double next = std::numeric_limits<double>::infinity();
        std::erase_if(beats_, [](const auto& beat) { return beat.expired(); });
        for (const auto& beat : beats_)
            if (const auto kept = beat.lock()) next = std::min(next, kept->due);
        return next;
    }

  private:
    // Sums of intervals miss the times they stand for by rounding.
    static constexpr double slack = 1e-6;
    struct Beat {
        double interval;
        double due;
    };

    std::vector<std::weak_ptr<Beat>> beats_;
    ObserverList<double, bool> list_;
};

/// A player with its observers; the class that plays reports what happens to it.
class ObservablePlayer : public Player {
  public:
    std::unique_ptr<Observation> observeTimeControlStatus(
        std::function<void(TimeControlStatus)> handler) override {
        return statusObservers_.add(std::move(handler));
    }
    std::unique_ptr<Observation> observeTimeJumped(TimeHandler handler) override {
        return jumpObservers_.add(std::move(handler));
    }
    std::unique_ptr<Observation> observeFailure(ErrorHandler handler) override {
        return failureObservers_.add(std::move(handler));
    }
    std::unique_ptr<Observation> observePictures(std::function<void()> handler) override {
        return pictureObservers_.add(std::move(handler));
    }

  protected:
    ObserverList<TimeControlStatus> statusObservers_;
    ObserverList<double> jumpObservers_;
    ObserverList<const PlatformError&> failureObservers_;
    ObserverList<> pictureObservers_;
    PeriodicObservers periodicObservers_;
};

}  // namespace platform
