// Records the display it is started on through the real recorders and prints what became of the frames, as
// one JSON document. Benchmarks/recording starts it on virtual desktops with a scene.
//
//   RecordingBenchmark SECONDS

#include "ChosenDisplay.hpp"
#include "Cobaltreel/Capture/MouseSampler.hpp"
#include "Cobaltreel/Capture/ScreenRecorder.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoreApplication>
#include <QCoroTask>
#include <QCoroTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <unistd.h>

namespace cobaltreel::benchmarks {
namespace {

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What the thread that reads and converts the screen has used; 0 when there is none.
double captureSeconds() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream stat(task.path() / "stat");
        const std::string line{std::istreambuf_iterator<char>(stat), {}};
        auto name = line.find("(screen.grab)");
        if (name == std::string::npos) name = line.find("(cobaltreel.cast)");
        if (name == std::string::npos) continue;
        // utime and stime are the 12th and 13th words after the name.
        std::istringstream words(line.substr(line.find(')', name) + 1));
        std::string skipped;
        for (int i = 0; i < 11; ++i) words >> skipped;
        double user = 0, system = 0;
        words >> user >> system;
        return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
    }
    return 0;
}

double peakMB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1000;
}

/// Standard deviation of the sampler's steps from 1/60 s, milliseconds.
double jitterMs(const EventLog& log) {
    double sum = 0;
    for (std::size_t i = 1; i < log.samples.size(); ++i) {
        const double off = log.samples[i].t - log.samples[i - 1].t - MouseSampler::interval;
        sum += off * off;
    }
    return log.samples.size() < 2 ? 0 : 1000 * std::sqrt(sum / static_cast<double>(log.samples.size() - 1));
}

struct Recording {
    ScreenRecorder::Statistics frames;
    EventLog events;
    double length = 0;  // seconds
    double captureSeconds = 0;
};

QCoro::Task<Recording> record(const platform::PlatformServices& services, std::filesystem::path movie,
                              double seconds) {
    const ChosenDisplay chosen = co_await chooseDisplay(services);
    const auto& content = chosen.content;
    ScreenRecorder screen(services.screenCapture, services.media, services.mainLoop);
    MouseSampler mouse(services.clock, services.mainLoop, services.desktop);
    co_await screen.start(
        ScreenRecorder::displayTarget(content.displays.front(), 1, bundleIdentifier, content), movie, false);
    mouse.start(CaptureMode::display, 0);
    co_await QCoro::sleepFor(std::chrono::milliseconds(static_cast<int>(seconds * 1000)));
    Recording recording;
    recording.captureSeconds = captureSeconds();
    co_await screen.stop();
    recording.events = mouse.stop();
    recording.frames = screen.statistics();
    if (!screen.firstPTS()) throw std::runtime_error("the screen gave no picture");
    recording.length = services.clock->now() - *screen.firstPTS();
    co_return recording;
}

QCoro::Task<void> measure(const platform::PlatformServices& services, double seconds, int& status) {
    const std::filesystem::path movie = std::filesystem::temp_directory_path() /
                                        ("cobaltreel-recording-" + std::to_string(getpid()) + ".mov");
    try {
        const Recording recording = co_await record(services, movie, seconds);
        const auto offered = static_cast<double>(recording.frames.offered);
        const nlohmann::ordered_json figures{
            {"offeredFps", offered / recording.length},
            {"writtenFps", static_cast<double>(recording.frames.written) / recording.length},
            {"droppedShare", static_cast<double>(recording.frames.dropped) / std::max(1.0, offered)},
            {"samplerJitterMs", jitterMs(recording.events)},
            {"cpuShare", processorSeconds() / recording.length},
            {"captureCpuShare", recording.captureSeconds / recording.length},
            {"peakMB", peakMB()},
            {"movieMB", static_cast<double>(std::filesystem::file_size(movie)) / 1e6}};
        std::cout << figures.dump(2) << '\n';
        status = 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "RecordingBenchmark: %s\n", error.what());
    }
    std::error_code ignored;
    std::filesystem::remove(movie, ignored);
    QCoreApplication::quit();
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const auto services = platform::PlatformServices::makeDefault(cobaltreel::bundleIdentifier);
    const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 10;
    int status = 1;
    services.mainLoop->post([&] { cobaltreel::benchmarks::measure(services, seconds, status); });
    QCoreApplication::exec();
    return status;
}
