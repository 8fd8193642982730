#pragma once

#include "Platform/Foundation/LibraryVersion.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QEvent>
#include <QObject>
#include <deque>
#include <functional>
#include <mutex>

namespace platform {

/// The main loop over Qt's event loop. Created on the main thread after the application object.
/// Repeating timers run on a timerfd, because Qt's own round 1/60 s to whole milliseconds.
class QtMainLoop final : public MainLoop {
  public:
    void post(std::function<void()> work) override;
    std::unique_ptr<Timer> scheduleRepeating(double interval, std::function<void()> tick) override;
    std::unique_ptr<Timer> scheduleOnce(double delay, std::function<void()> fire) override;
    std::unique_ptr<Watch> watchReadable(int descriptor, std::function<void()> ready) override;

  private:
    /// What was posted, in order; Qt's queue holds one event for each. The thread sanitizer does not see the
    /// lock of that queue, and would take all that goes through it for a race: so the lock for the work is
    /// ours, and the events are Qt's, which are not judged.
    class Inbox final : public QObject {
      public:
        void post(std::function<void()> work);

      private:
        void customEvent(QEvent* event) override;

        const QEvent wake_{QEvent::User};
        std::mutex mutex_;
        std::deque<std::function<void()>> work_;
    };

    Inbox inbox_;
};

/// Any thread.
LibraryVersion qtVersion();

}  // namespace platform
