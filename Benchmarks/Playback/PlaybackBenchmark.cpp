// Measures the preview window on a made session whose pictures tell which they are. Benchmarks/playback runs
// it on a virtual desktop:
//   PlaybackBenchmark [--json] [--seconds S] --work FOLDER

#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/UI/Alerts/AlertWindows.hpp"
#include "Cobaltreel/UI/PreviewWindow/PictureView.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewWindows.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "DriftWatch.hpp"
#include "Ear.hpp"
#include "Measuring.hpp"
#include "Platform/PlatformServices.hpp"
#include "Rig/CounterSession.hpp"
#include "StallWatch.hpp"

#include <QEventLoop>
#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace cobaltreel::benchmarks {
namespace {

struct Options {
    bool json = false;
    double seconds = 20;
    std::filesystem::path work;
};

/// Lets events run for a time, or until the condition holds.
bool runEvents(double seconds, const std::function<bool()>& until = nullptr) {
    QEventLoop loop;
    bool held = false;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, [&] {
        if (!until || !(held = until())) return;
        loop.quit();
    });
    check.start(1);
    QTimer::singleShot(static_cast<int>(seconds * 1000), &loop, &QEventLoop::quit);
    loop.exec();
    return held;
}

struct Figures {
    double firstPictureMs = 0;
    double worstCameraDriftMs = 0;
    double withinToleranceShare = 0;
    double settleMs = 0;
    double longestStallMs = 0;
    double longestOwnStallMs = 0;
    double stallPlayingMs = 0, stallScrubbingMs = 0, stallExportingMs = 0, stallCutoutMs = 0;
    double drawnShare = 0;
    std::optional<Spread> soundOffMs;
    double soundWithinShare = 0;
    std::size_t looks = 0, unread = 0, soundHeard = 0;
};
constexpr double soundTolerance = 40;  // milliseconds

class Measurement {
  public:
    explicit Measurement(const Options& options)
        : options_(options), services_(platform::PlatformServices::makeDefault(bundleIdentifier)) {
        session_.width = 1920;
        session_.height = 1080;
        session_.screenRate = 60;
        session_.seconds = 24;
        folder_.dir = options.work / "session";
        meta_ = session_.prepare(folder_, *services_.media);
    }

    Figures run() {
        windows_ = std::make_unique<PreviewWindows>(
            PreviewServices{services_.players, services_.media, services_.vision, services_.fileBrowser,
                            std::make_shared<AlertWindows>(), services_.clock, services_.mainLoop});
        openOnce();  // the first window of a process also starts the toolkit
        firstPicture();
        drawnFrames();
        sound();
        camera();
        exporting();
        windows_.reset();
        figures_.longestStallMs = std::max({figures_.stallPlayingMs, figures_.stallScrubbingMs,
                                            figures_.stallExportingMs, figures_.stallCutoutMs});
        return figures_;
    }

  private:
    void note(const StallWatch& stalls, double& part) {
        part = stalls.longestMs();
        figures_.longestOwnStallMs = std::max(figures_.longestOwnStallMs, stalls.longestOwnMs());
    }
    void open() {
        windows_->openPreview(folder_, meta_, {}, [](bool) {});
        model_ = windows_->model();
        screen_ = windows_->window()->rootObject()->findChild<PictureView*>(QStringLiteral("screen"));
    }
    void close() {
        windows_->endPreviews(0, [] {});
        runEvents(10, [this] { return windows_->model() == nullptr; });
    }
    void openOnce() {
        open();
        runEvents(10, [this] { return screen_->hasPicture(); });
        close();
    }

    void firstPicture() {
        const double start = services_.clock->now();
        open();
        if (!runEvents(10, [this] { return screen_->drawnCount() > 0; }))
            throw std::runtime_error("no picture came within ten seconds: " +
                                     model_->playbackProblem().toStdString());
        figures_.firstPictureMs = 1000 * (services_.clock->now() - start);
        runEvents(1);
    }

    /// Plain playing from the beginning, without anything else.
    void drawnFrames() {
        constexpr double measured = 6;
        model_->goTo(0);
        runEvents(0.5);
        StallWatch stalls(*services_.clock);
        model_->togglePlay();
        runEvents(1);
        const auto before = screen_->drawnCount();
        const double from = services_.clock->now();
        runEvents(measured);
        const double elapsed = services_.clock->now() - from;
        figures_.drawnShare =
            static_cast<double>(screen_->drawnCount() - before) / (elapsed * session_.screenRate);
        note(stalls, figures_.stallPlayingMs);
    }

    /// How far what is heard is from what is seen, after starts, pauses, jumps and a change of the speaker.
    void sound() {
        if (!std::getenv("COBALTREEL_RIG_MEDIA")) return;
        platform::pipewire::PipeWireConnection connection;
        connection.waitForGraph(2);
        const Ear speaker(connection, "rig.speaker"), headphones(connection, "rig.headphones");
        struct Look {
            double at;       // host clock
            double seconds;  // in the movie, by the picture
        };
        std::vector<Look> looks;
        bool counts = false;
        const auto looking = QObject::connect(model_->screenPictures(), &PictureSource::pictureChanged, [&] {
            const auto shown = counts ? counterOf(model_->screenPictures()) : std::nullopt;
            if (shown) looks.push_back({services_.clock->now(), *shown / double(session_.screenRate)});
        });
        std::mt19937 chance(11);
        const auto anywhere = [&] {
            return (session_.seconds - 8) * static_cast<double>(chance() % 1000) / 1000;
        };
        constexpr int rounds = 12;
        for (int i = 0; i < rounds; ++i) {
            switch (i % 4) {
                case 0:
                    model_->goTo(anywhere());
                    break;
                case 1:
                    model_->pause();
                    runEvents(0.3);
                    break;
                case 2:
                    model_->goTo(anywhere());
                    runEvents(0.05);
                    model_->goTo(anywhere());
                    break;
                default:
                    useSpeaker(i % 8 == 3 ? "rig.headphones" : "rig.speaker");
            }
            if (!model_->isPlaying()) model_->togglePlay();
            constexpr double arriving = 0.7, measured = 1.3;
            runEvents(arriving);
            counts = true;
            runEvents(measured);
            counts = false;
        }
        model_->pause();
        runEvents(0.5);  // what was played last is heard
        QObject::disconnect(looking);
        std::vector<double> off;
        for (const Look& look : looks) {
            auto hertz = speaker.frequencyAt(look.at);
            if (!hertz) hertz = headphones.frequencyAt(look.at);
            if (!hertz) continue;
            const double heard = (*hertz - rig::CounterSession::toneStart) / rig::CounterSession::toneRise;
            off.push_back(1000 * std::abs(heard - look.seconds));
        }
        figures_.soundHeard = off.size();
        if (off.empty()) return;
        figures_.soundOffMs = spreadOf(off);
        const auto within = std::ranges::count_if(off, [](double ms) { return ms <= soundTolerance; });
        figures_.soundWithinShare = static_cast<double>(within) / static_cast<double>(off.size());
    }
    static void useSpeaker(const std::string& name) {
        const std::string command = "pw-metadata 0 default.configured.audio.sink '{ \"name\": \"" + name +
                                    "\" }' Spa:String:JSON > /dev/null";
        if (std::system(command.c_str()) != 0) throw std::runtime_error("the speaker could not be changed");
    }

    /// Plays, pauses, jumps and drags by chance but the same in every run; what is shown is compared at every
    /// picture once an action has had the time to arrive.
    void camera() {
        DriftWatch watch(*model_, session_);
        std::mt19937 chance(7);
        const auto upTo = [&](double most) { return most * static_cast<double>(chance() % 1000) / 1000; };
        StallWatch stalls(*services_.clock);
        std::vector<double> settling;
        bool counts = false;
        const auto looking = QObject::connect(model_->screenPictures(), &PictureSource::pictureChanged, [&] {
            if (counts) watch.look();
        });
        const double end = services_.clock->now() + options_.seconds;
        while (services_.clock->now() < end) {
            counts = false;
            switch (chance() % 5) {
                case 0:
                    model_->togglePlay();
                    break;
                case 1:
                    model_->goTo(upTo(session_.seconds - 4));
                    break;
                case 2:
                    for (int i = 0; i < 12; ++i) {
                        model_->setTrimStart(upTo(session_.seconds / 2));
                        runEvents(0.016);
                    }
                    break;
                case 3:
                    model_->step(1.0 / 30);
                    break;
                default:
                    if (!model_->isPlaying()) model_->togglePlay();
            }
            const double acted = services_.clock->now();
            // A picture on the way to an earlier place may happen to lie at the new one.
            constexpr double steady = 0.15, patience = 3;
            double arrived = acted;
            const bool settled = runEvents(patience, [&] {
                const double now = services_.clock->now();
                if (!watch.hasArrived()) arrived = now;
                return now - arrived >= steady;
            });
            settling.push_back(settled ? arrived - acted : patience);
            counts = true;
            runEvents(1 + upTo(1));
            watch.look();
        }
        QObject::disconnect(looking);
        figures_.worstCameraDriftMs = 1000 * watch.worst();
        figures_.withinToleranceShare = watch.share(PreviewModel::bubbleDriftTolerance);
        figures_.settleMs = 1000 * spreadOf(settling).most;
        figures_.looks = watch.looks();
        figures_.unread = watch.unread();
        note(stalls, figures_.stallScrubbingMs);
    }

    /// Plays and scrubs while an export runs, and once with the cut-out.
    void exporting() {
        model_->pause();
        model_->setTrimStart(0);
        model_->setTrimEnd(session_.seconds);
        StallWatch stalls(*services_.clock);
        model_->exportMovie();
        for (int i = 0; i < 40 && model_->exporting(); ++i) {
            model_->goTo(i * 0.3);
            runEvents(0.05);
        }
        model_->togglePlay();
        runEvents(2);
        model_->cancel();
        runEvents(10, [this] { return !model_->exporting(); });
        note(stalls, figures_.stallExportingMs);

        stalls.restart();
        model_->setCameraStyle(CameraStyle::cutout);
        runEvents(3);
        model_->setCameraStyle(CameraStyle::bubble);
        runEvents(0.5);
        note(stalls, figures_.stallCutoutMs);
        model_->pause();
    }

    const Options& options_;
    platform::PlatformServices services_;
    rig::CounterSession session_;
    SessionFolder folder_;
    SessionMeta meta_;
    std::unique_ptr<PreviewWindows> windows_;
    PreviewModel* model_ = nullptr;
    PictureView* screen_ = nullptr;
    Figures figures_;
};

void print(const Figures& figures, bool json) {
    if (json) {
        std::cout << nlohmann::ordered_json{{"firstPictureMs", figures.firstPictureMs},
                                            {"worstCameraDriftMs", figures.worstCameraDriftMs},
                                            {"longestStallMs", figures.longestStallMs},
                                            {"drawnShare", figures.drawnShare},
                                            {"longestOwnStallMs", figures.longestOwnStallMs},
                                            {"cameraWithinToleranceShare", figures.withinToleranceShare},
                                            {"longestSettlingMs", figures.settleMs},
                                            {"stallsMs",
                                             {{"playing", figures.stallPlayingMs},
                                              {"scrubbing", figures.stallScrubbingMs},
                                              {"exporting", figures.stallExportingMs},
                                              {"cutout", figures.stallCutoutMs}}},
                                            {"soundOffMs",
                                             figures.soundOffMs ? figures.soundOffMs->most : -1},
                                            {"soundWithinShare", figures.soundWithinShare},
                                            {"picturesCompared", figures.looks},
                                            {"picturesNotRead", figures.unread}}
                         .dump(2)
                  << '\n';
        return;
    }
    std::printf("first picture           %.0f ms\n", figures.firstPictureMs);
    std::printf("camera off by at most   %.0f ms   (%.1f %% of %zu pictures within %.0f ms; %zu not read)\n",
                figures.worstCameraDriftMs, 100 * figures.withinToleranceShare, figures.looks,
                1000 * PreviewModel::bubbleDriftTolerance, figures.unread);
    std::printf("in step again after     %.0f ms at most\n", figures.settleMs);
    std::printf(
        "main thread away        %.0f ms at most   (playing %.0f, scrubbing %.0f, exporting %.0f, "
        "cut-out %.0f)\n",
        figures.longestStallMs, figures.stallPlayingMs, figures.stallScrubbingMs, figures.stallExportingMs,
        figures.stallCutoutMs);
    std::printf("  less other programs   %.0f ms at most\n", figures.longestOwnStallMs);
    std::printf("frames drawn            %.1f %% of 60 a second\n", 100 * figures.drawnShare);
    if (figures.soundOffMs)
        std::printf(
            "sound off the picture   %.0f ms at most, %.0f mostly   (%.1f %% of %zu pictures within %.0f "
            "ms)\n",
            figures.soundOffMs->most, figures.soundOffMs->median, 100 * figures.soundWithinShare,
            figures.soundHeard, soundTolerance);
    else
        std::printf("sound off the picture   not heard\n");
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    using namespace cobaltreel::benchmarks;
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    try {
        Options options;
        CLI::App app;
        app.add_flag("--json", options.json);
        app.add_option("--seconds", options.seconds);
        app.add_option("--work", options.work)->required();
        CLI11_PARSE(app, argc, argv);
        print(Measurement(options).run(), options.json);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "PlaybackBenchmark: %s\n", error.what());
        return 1;
    }
}
