#pragma once

#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/PipeWire/PipeWireCaptureService.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Rig/ChildProcess.hpp"
#include "Rig/Eventually.hpp"
#include "Rig/RigPicture.hpp"
#include "Rig/StallWatch.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rig {

/// Starts a device of the rig and waits until it is there.
inline std::unique_ptr<ChildProcess> startDevice(const std::string& program,
                                                 std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), std::string(RIG_PROGRAMS) + "/" + program);
    auto device = std::make_unique<ChildProcess>(arguments);
    if (device->readLine() != "there") throw std::runtime_error(program + " did not start");
    return device;
}

inline std::optional<rigPicture::Reading> readPicture(const platform::PixelBuffer& picture) {
    return rigPicture::read([&](double x, double y) {
        const platform::Plane& luma = picture.plane(0);
        return static_cast<int>(
            luma.data[static_cast<int>(y * luma.height) * luma.stride + static_cast<int>(x * luma.width)]);
    });
}

/// What was delivered, in the order of its arrival. Filled on other threads, awaited by the test.
class Collector {
  public:
    struct Picture {
        double time = 0;
        double arrival = 0;
        int width = 0;
        int height = 0;
        std::optional<rigPicture::Reading> reading;
    };

    void take(const platform::SampleBuffer& sample) {
        const double now = platform::HostClock().now();
        const std::lock_guard lock(mutex_);
        if (sample.image)
            pictures_.push_back({sample.presentationTime.seconds(), now, sample.image->width(),
                                 sample.image->height(), readPicture(*sample.image)});
        else
            sounds_.push_back(sample);
        changed_.notify_all();
    }
    void take(const platform::CaptureEvent& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
        changed_.notify_all();
    }

    /// Waits until `enough`, called with the lock held, is content; false after a minute.
    template <typename Enough>
    bool wait(Enough enough) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::minutes(1), enough);
    }
    bool waitForPictures(std::size_t more) {
        return wait([this, count = pictures().size() + more] { return pictures_.size() >= count; });
    }
    bool waitForSound(std::size_t more) {
        return wait([this, count = sounds().size() + more] { return sounds_.size() >= count; });
    }
    bool waitForSoundUntil(double time) {
        return wait(
            [this, time] { return !sounds_.empty() && sounds_.back().presentationTime.seconds() > time; });
    }
    bool waitForEvents(platform::CaptureEvent::Kind kind, std::ptrdiff_t count = 1) {
        return wait(
            [=, this] { return std::ranges::count(events_, kind, &platform::CaptureEvent::kind) >= count; });
    }

    std::vector<Picture> pictures() {
        const std::lock_guard lock(mutex_);
        return pictures_;
    }
    std::vector<platform::SampleBuffer> sounds() {
        const std::lock_guard lock(mutex_);
        return sounds_;
    }
    std::vector<platform::CaptureEvent> events() {
        const std::lock_guard lock(mutex_);
        return events_;
    }
    void clear() {
        const std::lock_guard lock(mutex_);
        pictures_.clear();
        sounds_.clear();
        events_.clear();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Picture> pictures_;
    std::vector<platform::SampleBuffer> sounds_;
    std::vector<platform::CaptureEvent> events_;
};

/// A capture service on the rig's media server, with one session.
class MediaTest : public testing::Test {
  protected:
    double now() const { return platform::HostClock().now(); }

    platform::CaptureDevice camera(const std::string& id = "rig.camera") const {
        return {id, "Rig Camera", platform::MediaType::video};
    }
    platform::CaptureDevice microphone() const {
        return {"rig.microphone", "Rig Microphone", platform::MediaType::audio};
    }
    /// Waits until the service lists a device.
    bool isListed(const std::string& id, bool listed = true) {
        return platform::eventually([&] {
            const auto devices = service.devices();
            bool found = false;
            for (const auto& list : {devices.cameras, devices.microphones})
                for (const auto& device : list) found = found || device.uniqueID == id;
            return found == listed;
        });
    }
    void configure(const std::vector<platform::CaptureDevice>& devices, bool mirrored = false) {
        for (const auto& device : devices) ASSERT_TRUE(isListed(device.uniqueID)) << device.uniqueID;
        session->setEventHandler([this](const platform::CaptureEvent& event) { collector.take(event); });
        session->beginConfiguration();
        session->removeAllInputs();
        session->removeAllOutputs();
        for (const auto& device : devices) session->addInput(device);
        for (const auto type : {platform::MediaType::video, platform::MediaType::audio})
            session->addOutput(type, queue,
                               [this](const platform::SampleBuffer& sample) { collector.take(sample); });
        session->setVideoMirrored(mirrored);
        session->commitConfiguration();
        session->startRunning();
    }

    /// Expects a try to answer no faults. What the machine makes impossible is skipped and said.
    static void expectNoFaults(const std::function<std::string()>& attempt) {
        const Verdict verdict = withoutStalls(attempt);
        if (!verdict.isCertain) GTEST_SKIP() << "the machine stood still in each try: " << verdict.faults;
        EXPECT_EQ(verdict.faults, "");
    }

    Collector collector;
    platform::SerialQueue queue{"test.io", 256};
    platform::PipeWireCaptureService service;
    std::unique_ptr<platform::CaptureSession> session = service.makeSession();
};

}  // namespace rig
