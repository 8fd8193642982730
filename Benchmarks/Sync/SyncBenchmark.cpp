// One event at one instant in all five streams - a flash on the screen, a flash in the camera, a beep in the
// microphone, a beep from the speaker, a click of the pointer - recorded through the real recorders,
// exported, and read back. Runs inside Tests/Rig/desktop and Tests/Rig/media; Benchmarks/sync starts it.
//
//   SyncBenchmark --programs FOLDER --work FOLDER [--seconds S] [--json] [--limit MS]

#include "ChosenDisplay.hpp"
#include "Cobaltreel/Capture/CameraMicRecorder.hpp"
#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"
#include "Rig/ChildProcess.hpp"
#include "Rig/StallWatch.hpp"
#include "SyncReading.hpp"

#include <QCoreApplication>
#include <QCoroTask>
#include <QCoroTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cobaltreel::benchmarks {
namespace {

constexpr int eventsAtEachEnd = 4;
constexpr double betweenEvents = 0.7;  // seconds
constexpr double untilFirstEvent = 5.0;

struct Options {
    std::string programs;
    std::filesystem::path work;
    double seconds = 15;
    double limitMs = 0;
    bool json = false;
};

/// What was recorded, and the instants of the events.
struct Recording {
    SessionFolder folder;
    SessionMeta meta;
    std::vector<double> instants;  ///< host clock; half of them at the start, half at the end
    CameraMicRecorder::Statistics camera;
    ScreenRecorder::Statistics screen;
    std::vector<platform::CaptureEvent> deviceEvents;
    double firstPicture = NAN;  ///< seconds from asking for the preview to its first picture
};

QCoro::Task<void> until(platform::Clock& clock, double time) {
    // Long timers of the event loop may fire some percent early.
    for (double left = time - clock.now(); left > 0; left = time - clock.now())
        co_await QCoro::sleepFor(std::chrono::milliseconds(1 + static_cast<int>(left * 1000)));
}

/// The devices of the rig that show the events.
class Stage {
  public:
    Stage(const std::string& programs, const std::vector<double>& instants) {
        std::string list;
        for (const double instant : instants) list += (list.empty() ? "" : ",") + std::to_string(instant);
        start({programs + "/RigCamera", "--at", list});
        start({programs + "/RigTone", "--microphone", "--at", list});
        start({programs + "/RigTone", "--speaker", "--channels", "2", "--only-first-channel", "--at", list});
        start({SYNC_FLASH, "--at", list});
    }

  private:
    void start(const std::vector<std::string>& command) {
        devices_.push_back(std::make_unique<rig::ChildProcess>(command));
        if (devices_.back()->readLine() != "there") throw std::runtime_error(command[0] + " did not start");
    }
    std::vector<std::unique_ptr<rig::ChildProcess>> devices_;
};

QCoro::Task<Recording> record(Options options, platform::PlatformServices services) {
    Recording result;
    result.folder.dir = options.work;
    const double first = services.clock->now() + untilFirstEvent;
    const double last = first + options.seconds;
    for (int i = 0; i < eventsAtEachEnd; ++i) result.instants.push_back(first + i * betweenEvents);
    for (int i = eventsAtEachEnd - 1; i >= 0; --i) result.instants.push_back(last - i * betweenEvents);
    const Stage stage(options.programs, result.instants);

    const auto capture = services.capture;
    ScreenRecorder screen(services.screenCapture, services.media, services.mainLoop);
    CameraMicRecorder camera(capture, services.media, services.mainLoop);
    MouseSampler mouse(services.clock, services.mainLoop, services.desktop);
    camera.onDeviceEvent = [&](const auto& event) { result.deviceEvents.push_back(event); };

    auto devices = capture->devices();
    while ((devices.cameras.empty() || devices.microphones.empty()) && services.clock->now() < first) {
        co_await QCoro::sleepFor(std::chrono::milliseconds(20));
        devices = capture->devices();
    }
    if (devices.cameras.empty() || devices.microphones.empty()) throw std::runtime_error("no test devices");
    const auto firstPicture = std::make_shared<std::atomic<double>>(NAN);
    camera.setPreviewFrameHandler([firstPicture, clock = services.clock](const auto&) {
        if (std::isnan(*firstPicture)) *firstPicture = clock->now();
    });
    const double previewAsked = services.clock->now();
    camera.startPreview(devices.cameras.front(), devices.microphones.front(), true);
    co_await until(*services.clock, first - 2.5);

    const ChosenDisplay chosen = co_await chooseDisplay(services);
    const auto& content = chosen.content;
    const auto target = ScreenRecorder::displayTarget(content.displays.front(), 1, "", content);
    co_await camera.beginWriting(result.folder.cameraMovie());
    co_await screen.start(target, result.folder.screenMovie(), true);
    mouse.start(CaptureMode::display, 0);
    co_await until(*services.clock, last + 0.7);
    co_await screen.stop();
    co_await camera.stop();

    result.firstPicture = *firstPicture - previewAsked;
    const auto& frame = content.displays.front().frame;
    result.meta = SessionMeta::makeDefault();
    result.meta.captureWidthPx = target.width;
    result.meta.captureHeightPx = target.height;
    result.meta.displayFramePoints = {0, 0, frame.w, frame.h};
    result.meta.scaleFactor = 1;
    result.meta.mainScreenHeightPoints = frame.h;
    result.meta.screenFirstPTS = screen.firstPTS();
    result.meta.cameraFirstPTS = camera.firstPTS();
    result.meta.recordingEndHostTime = services.clock->now();
    result.meta.cameraEnabled = true;
    result.meta.cameraCorner = CameraCorner::bottomLeft;
    result.meta.bubbleSizeFraction = 0.24;
    result.meta.systemAudioEnabled = true;
    result.folder.writeEvents(mouse.stop());
    result.folder.writeMeta(result.meta);
    result.camera = camera.statistics();
    result.screen = screen.statistics();
    co_return result;
}

Recording recordWithEventLoop(const Options& options, const platform::PlatformServices& services) {
    std::optional<Recording> recording;
    std::exception_ptr failure;
    const auto follow = [&]() -> QCoro::Task<void> {
        try {
            recording = co_await record(options, services);
        } catch (...) {
            failure = std::current_exception();
        }
        QCoreApplication::quit();
    };
    std::optional<QCoro::Task<void>> following;
    services.mainLoop->post([&] { following.emplace(follow()); });
    QCoreApplication::exec();
    if (failure) std::rethrow_exception(failure);
    return std::move(*recording);
}

/// Mean and largest difference of two streams over the events that both show, milliseconds; infinite when
/// there is none.
struct Difference {
    double mean = 0;
    double worst = 0;
};
Difference difference(const std::vector<double>& a, const std::vector<double>& b, std::size_t from,
                      std::size_t to) {
    Difference result;
    int shown = 0;
    for (std::size_t i = from; i < to; ++i) {
        const double each = 1000 * (a[i] - b[i]);
        if (std::isnan(each)) continue;
        ++shown;
        result.mean += each;
        if (std::abs(each) > std::abs(result.worst)) result.worst = each;
    }
    if (shown == 0) return {INFINITY, INFINITY};
    result.mean /= shown;
    return result;
}

/// Events that a stream does not show: the pictures that would have are among the dropped ones.
nlohmann::ordered_json missed(const Sightings& seen) {
    nlohmann::ordered_json counts;
    for (const auto& [stream, times] : seen)
        counts[stream] = std::ranges::count_if(times, [](double time) { return std::isnan(time); });
    return counts;
}

nlohmann::ordered_json compare(const Sightings& seen, double& worst, double& growth) {
    nlohmann::ordered_json pairs;
    constexpr std::size_t half = eventsAtEachEnd;
    for (auto a = seen.begin(); a != seen.end(); ++a) {
        for (auto b = std::next(a); b != seen.end(); ++b) {
            const Difference start = difference(a->second, b->second, 0, half);
            const Difference end = difference(a->second, b->second, half, 2 * half);
            worst = std::max({worst, std::abs(start.worst), std::abs(end.worst)});
            growth = std::max(growth, std::abs(end.mean - start.mean));
            pairs[a->first + "-" + b->first] = {
                {"startMs", start.mean},
                {"endMs", end.mean},
                {"worstMs", std::abs(start.worst) > std::abs(end.worst) ? start.worst : end.worst}};
        }
    }
    return pairs;
}

void printTable(const char* title, const nlohmann::ordered_json& pairs) {
    std::printf("%s, ms\n  %-16s %8s %8s %8s\n", title, "", "start", "end", "worst");
    for (const auto& [name, figures] : pairs.items())
        std::printf("  %-16s %8.1f %8.1f %8.1f\n", name.c_str(), figures["startMs"].get<double>(),
                    figures["endMs"].get<double>(), figures["worstMs"].get<double>());
}

/// The worst difference, milliseconds.
double measure(const Options& options) {
    std::filesystem::remove_all(options.work);
    std::filesystem::create_directories(options.work);
    const auto services = platform::PlatformServices::makeDefault(bundleIdentifier);
    const Recording recording = recordWithEventLoop(options, services);
    for (const auto& event : recording.deviceEvents) std::cerr << event.message << '\n';

    ExportRenderer renderer(recording.folder, recording.meta, services.media, services.vision);
    ExportOptions exported;
    exported.trimEnd = *recording.meta.recordingEndHostTime - *recording.meta.screenFirstPTS - 0.2;
    exported.quality = ExportOptions::Quality::p720;
    exported.autoZoom = false;
    exported.outputPath = options.work / "export.mp4";
    renderer.exportMovie(exported);
    std::vector<double> clicks;
    for (const auto& click : renderer.preparedClicks()) clicks.push_back(click.t);

    nlohmann::ordered_json result;
    double worst = 0;
    double growth = 0;
    const Sightings session =
        readSession(*services.media, recording.folder, recording.meta, recording.instants);
    const Sightings movie =
        readExport(*services.media, exported.outputPath, recording.meta, clicks, recording.instants);
    const auto inSession = compare(session, worst, growth);
    const auto inExport = compare(movie, worst, growth);
    result["worstMs"] = worst;
    result["growthMs"] = growth;
    result["recorded"] = inSession;
    result["exported"] = inExport;
    result["missedInRecording"] = missed(session);
    result["missedInExport"] = missed(movie);
    result["seconds"] = options.seconds;
    result["cameraPicturesWritten"] = recording.camera.picturesWritten;
    result["cameraPicturesDropped"] = recording.camera.picturesDropped;
    result["firstPictureMs"] = 1000 * recording.firstPicture;
    result["screenFramesDropped"] = recording.screen.dropped;
    if (options.json) {
        std::cout << result.dump(2) << '\n';
    } else {
        printTable("Recorded", inSession);
        printTable("Exported", inExport);
        std::printf("events not shown: recorded %s, exported %s\n", missed(session).dump().c_str(),
                    missed(movie).dump().c_str());
        std::printf("worst %.1f ms, growth %.1f ms over %.0f s; camera: %llu pictures, %llu dropped\n", worst,
                    growth, options.seconds,
                    static_cast<unsigned long long>(recording.camera.picturesWritten),
                    static_cast<unsigned long long>(recording.camera.picturesDropped));
        std::printf("first picture of the preview after %.0f ms\n", 1000 * recording.firstPicture);
    }
    return worst;
}

/// As a test: the exit status.
int keepsLimit(const Options& options) {
    constexpr int skipped = 77;
    const rig::Verdict verdict = rig::withoutStalls([&]() -> std::string {
        const double worst = measure(options);
        return worst <= options.limitMs ? "" : std::to_string(worst) + " ms of difference";
    });
    if (verdict.faults.empty()) return 0;
    std::fprintf(stderr, "SyncBenchmark: %s is more than %.0f ms%s\n", verdict.faults.c_str(),
                 options.limitMs, verdict.isCertain ? "" : "; the machine stood still in each take");
    return verdict.isCertain ? 1 : skipped;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    cobaltreel::benchmarks::Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> std::string { return ++i < argc ? argv[i] : ""; };
        if (word == "--programs")
            options.programs = value();
        else if (word == "--work")
            options.work = value();
        else if (word == "--seconds")
            options.seconds = std::atof(value().c_str());
        else if (word == "--limit")
            options.limitMs = std::atof(value().c_str());
        else if (word == "--json")
            options.json = true;
        else
            options.programs.clear();
    }
    if (options.programs.empty() || options.work.empty() || options.seconds < 2) {
        std::cerr
            << "usage: SyncBenchmark --programs FOLDER --work FOLDER [--seconds S] [--json] [--limit MS]\n";
        return 2;
    }
    try {
        if (options.limitMs > 0) return cobaltreel::benchmarks::keepsLimit(options);
        cobaltreel::benchmarks::measure(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "SyncBenchmark: " << error.what() << '\n';
        return 1;
    }
}
