#pragma once

#include "Cobaltreel/Capture/RecordingFiles.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <QCoroTask>
#include <atomic>
#include <memory>
#include <optional>

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

    SessionKeeper(std::shared_ptr<platform::Clock> clock, std::shared_ptr<platform::MainLoop> mainLoop,
                  ScreenRecorder& screen, CameraMicRecorder& cameraMic, MouseSampler& mouse);
    ~SessionKeeper();

    void start(std::shared_ptr<RecordingFiles> files, SessionMeta meta);
    /// Returns once nothing is being written any more; at once when nothing was started.
    QCoro::Task<void> stop();
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
    std::atomic<bool> busy_{false};

    // The queue's, but for `start` and `stop`, while nothing runs there.
    std::shared_ptr<RecordingFiles> files_;
    SessionMeta meta_;
    platform::SerialQueue queue_{"cobaltreel.session.keep"};
};

}  // namespace cobaltreel
