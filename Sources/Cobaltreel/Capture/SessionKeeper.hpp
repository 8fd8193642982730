#pragma once

#include "Cobaltreel/Capture/RecordingFiles.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <QCoroTask>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace cobaltreel {

class CameraMicRecorder;
class MouseSampler;
class ScreenRecorder;

/// Keeps the folder of a running recording true: twice a second, and whatever ends the process, what was
/// captured is brought onto the disk, and the document then tells how far the movies really reach. On a queue
/// of its own: a slow disk delays nobody but this. Main thread; what it is made with must outlive it.
class SessionKeeper {
  public:
    static constexpr double interval = 0.5;  ///< seconds
    static constexpr int maxMarkers =
        10'000;  ///< one every fifth of a second, for as long as a recording may be

    SessionKeeper(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
                  ScreenRecorder& screen, CameraMicRecorder& cameraMic, MouseSampler& mouse);
    ~SessionKeeper();

    void start(std::shared_ptr<RecordingFiles> files, SessionMeta meta);
    /// Returns once nothing is being written any more; at once when nothing was started.
    QCoro::Task<void> stop();
    /// Notes a moment that the user has marked; false when there are too many.
    bool mark(Marker marker);
    /// How many have been noted since the start.
    int markerCount() const { return markerCount_; }
    /// What the pointer did since the last call, and what was marked.
    EventLog takeEvents();
    /// The last events; nothing is noted any more.
    EventLog endEvents();
    /// Keeps what there is now, and waits for it: the process is about to end.
    void keepNow();

  private:
    void tick();
    void keep(const EventLog& events, double now);

    std::shared_ptr<platform::Clock> clock_;
    std::shared_ptr<platform::MainLoop> mainLoop_;
    ScreenRecorder& screen_;
    CameraMicRecorder& cameraMic_;
    MouseSampler& mouse_;

    std::unique_ptr<platform::Timer> timer_;
    std::vector<Marker> markers_;  // since events were taken last
    int markerCount_ = 0;
    std::atomic<bool> busy_{false};

    // The queue's, but for `start` and `stop`, while nothing runs there.
    std::shared_ptr<RecordingFiles> files_;
    SessionMeta meta_;
    platform::SerialQueue queue_{"cobaltreel.session.keep"};
};

}  // namespace cobaltreel
