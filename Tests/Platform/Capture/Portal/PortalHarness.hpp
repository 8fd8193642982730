#pragma once

#include "Platform/Capture/Portal/PortalScreenCapture.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Evdev/EvdevButtons.hpp"
#include "Platform/Desktop/Portal/CastDesktop.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace platform::test {

/// Lets the main loop run until the condition holds; false when it does not within the limit.
inline bool runUntil(const std::function<bool()>& condition,
                     std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    QTimer pulse;  // what is waited for may come on another thread
    pulse.start(5);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

/// The person and the mouse of the rig's Wayland desktop.
inline QVariantList rig(const char* what, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.impl.portal.desktop.rig"), QStringLiteral("/rig"),
        QStringLiteral("com.pellanor.cobaltreel.Rig"), QString::fromLatin1(what));
    message.setArguments(arguments);
    return QDBusConnection::sessionBus().call(message).arguments();
}

/// Red, green and blue of one pixel as 0xRRGGBB.
inline std::uint32_t colorAt(const PixelBuffer& picture, int x, int y) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel,
                picture.plane().data + static_cast<std::ptrdiff_t>(y) * picture.plane().stride + x * 4, 4);
    return pixel & 0xffffff;
}

/// The services of a Wayland session.
struct PortalServices {
    std::shared_ptr<QtMainLoop> mainLoop = std::make_shared<QtMainLoop>();
    std::shared_ptr<PortalBus> bus = std::make_shared<PortalBus>();
    std::shared_ptr<CastScreen> screen = std::make_shared<CastScreen>();
    std::shared_ptr<InMemoryUserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
    std::shared_ptr<EvdevButtons> buttons =
        std::make_shared<EvdevButtons>("/nowhere", EvdevButtons::streamsOfEnvironment());
    CastDesktop desktop{screen, buttons, std::make_shared<HostClock>()};
    PortalScreenCapture capture{bus, mainLoop, screen, defaults};

    /// Asks the user and waits for the answer.
    std::optional<PlatformError> choose(ContentKind kind, std::uint32_t contentID,
                                        std::shared_ptr<ContentGrant>& to) {
        bool isAnswered = false;
        std::optional<PlatformError> failure;
        capture.requestContent(kind, contentID, [&](std::optional<PlatformError> error, auto grant) {
            isAnswered = true;
            failure = std::move(error);
            to = std::move(grant);
        });
        EXPECT_TRUE(runUntil([&] { return isAnswered; }));
        return failure;
    }
};

/// A running stream of what was chosen.
class Take {
  public:
    Take(PortalServices& services, const ContentFilter& filter, int width, int height) : queue_("take") {
        StreamConfiguration configuration;
        configuration.width = width;
        configuration.height = height;
        stream_ = services.capture.makeStream(filter, configuration, [this](const PlatformError& error) {
            const std::lock_guard lock(mutex_);
            ended_ = error;
        });
        stream_->addOutput(StreamOutputType::screen, queue_, [this](const CapturedSample& sample) {
            const std::lock_guard lock(mutex_);
            const double time = sample.buffer.presentationTime.seconds();
            if (frames_ > 0 && time <= lastTime_) isInOrder_ = false;
            lastTime_ = time;
            ++frames_;
            latest_ = sample.buffer.image;
        });
        stream_->startCapture([](const auto&) {});
    }
    ~Take() { stop(); }
    void stop() {
        if (stream_) stream_->stopCapture([](const auto&) {});
        stream_.reset();
    }

    bool waitFor(const std::function<bool(const PixelBuffer&)>& isRight) {
        return runUntil([&] {
            const std::lock_guard lock(mutex_);
            return latest_ && isRight(*latest_);
        });
    }
    std::optional<PlatformError> ended() {
        const std::lock_guard lock(mutex_);
        return ended_;
    }
    int frames() {
        const std::lock_guard lock(mutex_);
        return frames_;
    }
    bool isInOrder() {
        const std::lock_guard lock(mutex_);
        return isInOrder_;
    }

  private:
    SerialQueue queue_;
    std::mutex mutex_;
    std::unique_ptr<CaptureStream> stream_;
    ConstPixelBufferRef latest_;
    std::optional<PlatformError> ended_;
    int frames_ = 0;
    double lastTime_ = 0;
    bool isInOrder_ = true;
};

}  // namespace platform::test
