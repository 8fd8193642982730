#pragma once

#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Fakes/FakeFileBrowser.hpp"
#include "Fakes/FakeHost.hpp"
#include "Fakes/FakePlayer.hpp"
#include "Rig/PlainSession.hpp"

#include <atomic>
#include <functional>
#include <future>
#include <memory>

namespace cobaltreel {

/// A session of ten seconds with everything in it, and a preview of it in virtual time.
class PreviewTest : public TemporaryHome, public FakeHost {
  protected:
    PreviewTest() {
        media->writing.createsFile = false;
        setVariable("XDG_VIDEOS_DIR", (home / "Videos").string());
        meta.cameraFirstPTS = 99.5;
        meta.recordingEndHostTime = 110;
        meta.cameraEnabled = meta.systemAudioEnabled = true;
        meta.bubbleSizeFraction = 0.24;
        auto& screen = media->movies[folder.screenMovie()] = platform::FakeMovie::withFrames(300, 30);
        screen.sound = {0, 10};
        auto& cameraMovie = media->movies[folder.cameraMovie()] = platform::FakeMovie::withFrames(270, 30);
        cameraMovie.sound = {0, 9};
        players->duration = 10;
    }

    PreviewServices services() const { return {players, media, vision, fileBrowser, alerts, time, time}; }
    PreviewModel& open() {
        model = std::make_unique<PreviewModel>(folder, meta, services());
        if (!players->players.empty()) settle([&] { return mainPlayer().hasCurrentItem(); });
        time->advance(0.01);
        return *model;
    }
    platform::FakePlayer& mainPlayer() { return *players->players.at(0); }
    platform::FakePlayer& cameraPlayer() { return *players->players.at(1); }

    /// Runs what other threads post until the condition holds.
    void settle(const std::function<bool()>& condition) {
        time->drain();
        ASSERT_TRUE(eventually(condition)) << "this does not come";
    }
    void runExport() {
        model->exportMovie();
        settle([&] { return !model->exporting(); });
    }
    std::filesystem::path exported(const std::string& name) const {
        return home / "Videos" / "Cobaltreel" / name;
    }

    /// Holds the export's thread at one of its frames, counted from 1.
    class Gate {
      public:
        explicit Gate(platform::FakeMedia& scripted, std::size_t frame = 1) {
            scripted.writing.onVideoAsk = [this, frame](std::size_t asks) {
                if (asks >= frame && !isReached.exchange(true)) opened_.wait();
            };
        }
        ~Gate() { open(); }
        void open() {
            if (!isOpen_) open_.set_value();
            isOpen_ = true;
        }
        std::atomic<bool> isReached{false};

      private:
        bool isOpen_ = false;
        std::promise<void> open_;
        std::future<void> opened_ = open_.get_future();
    };

    SessionFolder folder{home / "session"};
    SessionMeta meta = rig::plainSession(4, 4, 100);
    std::shared_ptr<platform::FakePlayerService> players =
        std::make_shared<platform::FakePlayerService>(*time, *time);
    std::shared_ptr<platform::VisionService> vision;
    std::shared_ptr<platform::FakeFileBrowser> fileBrowser = std::make_shared<platform::FakeFileBrowser>();
    std::unique_ptr<PreviewModel> model;
};

}  // namespace cobaltreel
