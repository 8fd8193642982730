#pragma once

#include "Platform/Foundation/LibraryVersion.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>

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
    QObject context_;
};

/// Any thread.
LibraryVersion qtVersion();

}  // namespace platform
