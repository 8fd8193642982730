#include "Cobaltreel/Capture/SessionKeeper.hpp"

#include "Cobaltreel/Capture/Awaiting.hpp"
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace cobaltreel {

namespace {

/// Who keeps a recording at this moment. Main thread.
SessionKeeper* keeping = nullptr;

/// Libraries end the process themselves when the display server goes, in the middle of a recording.
void keepAtExit() {
    if (!keeping) return;
    std::exchange(keeping, nullptr)->keepNow();
    // The threads of the recording still run: nothing that they use may be taken down.
    std::_Exit(EXIT_FAILURE);
}

void watchForExit() {
    static const bool isWatched = std::atexit(keepAtExit) == 0;
    static_cast<void>(isWatched);
}

}  // namespace

SessionKeeper::SessionKeeper(std::shared_ptr<platform::Clock> clock,
                             std::shared_ptr<platform::MainLoop> mainLoop, ScreenRecorder& screen,
                             CameraMicRecorder& cameraMic, MouseSampler& mouse)
    : clock_(std::move(clock)),
      mainLoop_(std::move(mainLoop)),
      screen_(screen),
      cameraMic_(cameraMic),
      mouse_(mouse) {}

SessionKeeper::~SessionKeeper() {
    if (keeping == this) keeping = nullptr;
}

void SessionKeeper::start(std::shared_ptr<RecordingFiles> files, SessionMeta meta) {
    files_ = std::move(files);
    markers_.clear();
    markerCount_ = 0;
    meta_ = std::move(meta);
    timer_ = mainLoop_->scheduleRepeating(interval, [this] { tick(); });
    watchForExit();
    keeping = this;
}

QCoro::Task<void> SessionKeeper::stop() {
    timer_.reset();
    co_await AwaitOnQueue(*mainLoop_, queue_, [this] { files_.reset(); });
    if (keeping == this) keeping = nullptr;
}

bool SessionKeeper::mark(Marker marker) {
    if (markerCount_ >= maxMarkers) return false;
    ++markerCount_;
    markers_.push_back(std::move(marker));
    return true;
}

EventLog SessionKeeper::takeEvents() {
    EventLog events = mouse_.takeSamples();
    events.markers = std::exchange(markers_, {});
    return events;
}

EventLog SessionKeeper::endEvents() {
    EventLog events = mouse_.stop();
    events.markers = std::exchange(markers_, {});
    return events;
}

void SessionKeeper::keepNow() {
    queue_.sync([this, events = takeEvents(), now = clock_->now()] { keep(events, now); });
}

void SessionKeeper::tick() {
    if (busy_.exchange(true)) return;  // the disk is slow; the samples wait in the sampler
    queue_.async([this, events = takeEvents(), now = clock_->now()] {
        keep(events, now);
        busy_ = false;
    });
}

void SessionKeeper::keep(const EventLog& events, double now) {
    if (!files_) return;
    const auto screenEnd = screen_.flush(now);
    const auto cameraEnd = cameraMic_.flush();
    if (cameraEnd) meta_.cameraFirstPTS = cameraMic_.firstPTS();
    if (screenEnd) {
        meta_.screenFirstPTS = screen_.firstPTS();
        meta_.recordingEndHostTime = std::max(
            {*screenEnd, cameraEnd.value_or(*screenEnd), meta_.recordingEndHostTime.value_or(*screenEnd)});
    }
    files_->keep(events, meta_);
}

}  // namespace cobaltreel
