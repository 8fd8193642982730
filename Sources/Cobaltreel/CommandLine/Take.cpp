#include "Cobaltreel/CommandLine/Take.hpp"

#include "Cobaltreel/CommandLine/Command.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/DiskSpace.hpp"
#include "Cobaltreel/Support/Paths.hpp"

#include <algorithm>
#include <chrono>
#include <coroutine>
#include <filesystem>
#include <utility>

namespace cobaltreel {

namespace {

constexpr double diskCheckInterval = 5;  // seconds

/// A folder that no other recording has used: names carry whole seconds, and two takes may begin within
/// one.
std::filesystem::path makeFreshSessionDir() {
    auto now = std::chrono::system_clock::now();
    for (;;) {
        const auto dir = Paths::newSessionDir(now);
        if (std::filesystem::is_empty(dir)) return dir;
        now += std::chrono::seconds(1);
    }
}

/// Suspends until the callback that it hands out is called, on the main thread.
struct Pause {
    std::function<void()>& wake;
    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> continuation) {
        wake = [continuation] { continuation.resume(); };
    }
    void await_resume() {}
};

}  // namespace

Take::Take(const platform::PlatformServices& services, TakeOptions options)
    : services_(services),
      options_(std::move(options)),
      screen_(services.screenCapture, services.media, services.mainLoop),
      cameraMic_(services.capture, services.media, services.mainLoop),
      mouse_(services.clock, services.mainLoop, services.desktop) {}

void Take::requestStop() {
    stopRequested_ = true;
    if (const auto wake = std::exchange(wake_, nullptr)) wake();
}

void Take::end(const std::string& reason) {
    if (endReason_.empty() && !stopRequested_) endReason_ = reason;
    requestStop();
}

Take::Chosen Take::choose() const {
    const auto content = services_.screenCapture->shareableContent();
    const auto screens = services_.desktop->screens();
    SessionMeta meta;
    meta.version = CobaltreelCoreVersion::current;
    ScreenRecorder::Target target;

    if (options_.windowID) {
        const auto window =
            std::find_if(content.windows.begin(), content.windows.end(),
                         [&](const auto& candidate) { return candidate.windowID == *options_.windowID; });
        if (window == content.windows.end())
            throw CommandError("there is no window " + std::to_string(*options_.windowID) +
                               "; `cobaltreel sources` lists them");
        meta.mode = CaptureMode::window;
        meta.windowID = window->windowID;
        meta.scaleFactor = screens.empty() ? 1 : screens.front().backingScaleFactor;
        meta.displayFramePoints = {0, 0, window->frame.w, window->frame.h};
        target = ScreenRecorder::windowTarget(*window, meta.scaleFactor);
    } else {
        if (content.displays.empty()) throw CommandError("there is no display to record");
        const auto display = options_.displayID
                                 ? std::find_if(content.displays.begin(), content.displays.end(),
                                                [&](const auto& candidate) {
                                                    return candidate.displayID == *options_.displayID;
                                                })
                                 : content.displays.begin();
        if (display == content.displays.end())
            throw CommandError("there is no display " + std::to_string(*options_.displayID) +
                               "; `cobaltreel sources` lists them");
        meta.mode = CaptureMode::display;
        meta.displayID = display->displayID;
        meta.scaleFactor = display->scale;
        meta.displayFramePoints = {0, 0, display->frame.w, display->frame.h};
        for (const auto& screen : screens) {
            if (screen.displayID != display->displayID) continue;
            meta.scaleFactor = screen.backingScaleFactor;
            meta.displayFramePoints = {screen.frame.x, screen.frame.y, screen.frame.w, screen.frame.h};
        }
        target = ScreenRecorder::displayTarget(*display, meta.scaleFactor, bundleIdentifier, content);
    }
    meta.captureWidthPx = target.width;
    meta.captureHeightPx = target.height;
    if (!screens.empty()) meta.mainScreenHeightPoints = screens.front().frame.h;
    meta.cameraEnabled = options_.camera.has_value();
    meta.cameraCorner = options_.corner;
    meta.autoZoomEnabled = options_.autoZoom;
    meta.bubbleSizeFraction = options_.bubbleSizeFraction;
    meta.systemAudioEnabled = options_.systemAudio;
    meta.cameraStyle = options_.style;
    return {std::move(target), std::move(meta)};
}

void Take::startDevices() {
    cameraMic_.onDeviceEvent = [this](const platform::CaptureEvent& event) {
        // A take with a camera alone has no microphone to speak of.
        if (event.device.uniqueID.empty() || !onDeviceMessage) return;
        onDeviceMessage(event.message);
    };
    cameraMic_.startPreview(options_.camera, options_.microphone.value_or(platform::CaptureDevice{}),
                            options_.mirrorCamera);
}

QCoro::Task<void> Take::countDown() {
    const auto wakeUp = [this] {
        if (const auto wake = std::exchange(wake_, nullptr)) wake();
    };
    countdown([this] { requestStop(); }, wakeUp);
    co_await Pause{wake_};
}

void Take::tick() {
    const double elapsed = services_.clock->now() - startedAt_;
    if (onElapsed) onElapsed(elapsed);
    ++ticks_;
    if (const auto error = screen_.writingError()) return end(error->description());
    if (elapsed >= longestTake) return end("Recording stopped automatically after 30 minutes");
    const bool checksDisk = ticks_ % static_cast<std::int64_t>(diskCheckInterval) == 0;
    if (checksDisk && DiskSpace::freeBytes(folderDir_) <= leastFreeWhileRecording)
        end("Recording stopped — disk almost full");
}

QCoro::Task<void> Take::waitForEnd() {
    startedAt_ = services_.clock->now();
    const auto everySecond = services_.mainLoop->scheduleRepeating(1, [this] { tick(); });
    std::unique_ptr<platform::Timer> atDuration;
    if (options_.duration)
        atDuration = services_.mainLoop->scheduleOnce(*options_.duration, [this] { requestStop(); });
    if (!stopRequested_) co_await Pause{wake_};
}

QCoro::Task<std::optional<SessionFolder>> Take::run() {
    std::error_code ignored;
    std::filesystem::create_directories(Paths::sessionsRoot(), ignored);
    if (DiskSpace::freeBytes(Paths::sessionsRoot()) < leastFreeAtStart)
        throw CommandError("Not enough free disk space (at least 2 GB required) in " +
                           Paths::sessionsRoot().string());
    auto chosen = choose();
    if (usesDevices()) startDevices();
    if (countdown) co_await countDown();
    if (stopRequested_) {
        co_await cameraMic_.stop();
        co_return std::nullopt;
    }

    const SessionFolder session{makeFreshSessionDir()};
    folderDir_ = session.dir;
    const auto removeSession = [&session] {
        std::error_code error;
        std::filesystem::remove_all(session.dir, error);
    };
    std::exception_ptr failure;
    try {
        session.writeMeta(chosen.meta);
        if (usesDevices()) co_await cameraMic_.beginWriting(session.cameraMovie());
        screen_.onError = [this](const platform::PlatformError& error) { end(error.description()); };
        co_await screen_.start(chosen.target, session.screenMovie(), options_.systemAudio);
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure) {
        co_await screen_.stop();
        co_await cameraMic_.stop();
        removeSession();
        std::rethrow_exception(failure);
    }
    mouse_.start(chosen.meta.mode, chosen.meta.windowID);
    co_await waitForEnd();

    co_await screen_.stop();
    if (const auto error = screen_.writingError(); error && endReason_.empty())
        endReason_ = error->description();
    const EventLog events = mouse_.stop();
    chosen.meta.screenFirstPTS = screen_.firstPTS();
    chosen.meta.cameraFirstPTS = cameraMic_.firstPTS();
    chosen.meta.recordingEndHostTime = services_.clock->now();
    session.writeEvents(events);
    session.writeMeta(chosen.meta);
    if (!screen_.firstPTS()) {
        removeSession();
        throw CommandError("the screen gave no picture; nothing was recorded" +
                           (endReason_.empty() ? std::string() : ": " + endReason_));
    }
    co_return session;
}

}  // namespace cobaltreel
