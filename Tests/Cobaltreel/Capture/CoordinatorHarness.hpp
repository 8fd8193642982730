#pragma once

#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Fakes/FakeHost.hpp"
#include "Platform/Foundation/DurableFiles.hpp"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cobaltreel {

/// A coordinator on the fake host, with two windows to choose from.
class CoordinatorTest : public TemporaryHome, public FakeHost {
  protected:
    using State = RecordingCoordinator::State;

    CoordinatorTest() {
        L::current = Language::en;
        screenCapture->content.windows = {window(101, {10, 20, 641, 481}), window(102, {0, 0, 900, 700})};
        screenCapture->content.applications = {{bundleIdentifier, "Cobaltreel", 1}};
        makeCoordinator();
    }
    ~CoordinatorTest() override {
        coordinator.reset();
        time->drain();
    }

    void makeCoordinator() { coordinator = std::make_unique<RecordingCoordinator>(recordingServices()); }

    static platform::Window window(std::uint32_t id, platform::Rect frame,
                                   const std::string& application = "org.example.editor") {
        return {id, "Window " + std::to_string(id), frame, true,
                platform::RunningApplication{application, "Editor", 7}};
    }

    bool reaches(State state) {
        return eventually([&] { return coordinator->state() == state; });
    }

    void choose() {
        await(coordinator->refreshContent());
        coordinator->refreshDevices();
    }
    void press() {
        coordinator->toggle();
        ASSERT_TRUE(eventually([&] { return countdown->isRunning(); }));
    }
    void record() {
        if (!coordinator->selectedDisplayID()) choose();
        press();
        countdown->complete();
        ASSERT_TRUE(reaches(State::recording));
    }
    void stop() {
        coordinator->toggle();
        ASSERT_TRUE(reaches(State::idle));
    }

    platform::FakeSession& devices() { return *capture->sessions.back(); }
    platform::FakeStream& stream() { return *screenCapture->streams.back(); }
    /// The session folders on disk.
    static std::vector<std::filesystem::path> folders() {
        std::vector<std::filesystem::path> found;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(Paths::sessionsRoot(), ignored))
            found.push_back(entry.path());
        return found;
    }
    /// Whether a recording holds the folder, so that no other process clears it away.
    static bool isHeld(const std::filesystem::path& folder) {
        auto why = platform::HeldFile::Refusal::failed;
        return !platform::HeldFile::tryHold(SessionFolder{folder}.journalFile(), why) &&
               why == platform::HeldFile::Refusal::heldByAnother;
    }
    std::vector<QString> messages() const {
        std::vector<QString> texts;
        for (const auto& alert : alerts->alerts) texts.push_back(alert.message);
        return texts;
    }

    std::unique_ptr<RecordingCoordinator> coordinator;
};

}  // namespace cobaltreel
