// Records the display it is started on through the real recorders and prints what became of the frames, as
// one JSON document. Benchmarks/recording starts it on virtual desktops with a scene.
//
//   RecordingBenchmark SECONDS

#include "Cobaltreel/CommandLine/Take.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

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

QCoro::Task<void> record(Take& take, std::optional<SessionFolder>& session, std::exception_ptr& failure) {
    try {
        session = co_await take.run();
    } catch (...) {
        failure = std::current_exception();
    }
    QCoreApplication::quit();
}

int measure(double seconds) {
    const auto services = platform::PlatformServices::makeDefault(bundleIdentifier);
    TakeOptions options;
    options.duration = seconds;
    Take take(services, options);
    std::optional<SessionFolder> session;
    std::exception_ptr failure;
    services.mainLoop->post([&] { record(take, session, failure); });
    QCoreApplication::exec();
    if (failure) std::rethrow_exception(failure);

    const auto frames = take.statistics();
    const auto meta = session->readMeta();
    const double length = *meta.recordingEndHostTime - *meta.screenFirstPTS;
    std::cout << nlohmann::ordered_json{{"offeredFps", static_cast<double>(frames.offered) / length},
                                        {"writtenFps", static_cast<double>(frames.written) / length},
                                        {"droppedShare",
                                         static_cast<double>(frames.dropped) /
                                             std::max<double>(1, static_cast<double>(frames.offered))},
                                        {"samplerJitterMs", jitterMs(session->readEvents())},
                                        {"cpuShare", processorSeconds() / length},
                                        {"peakMB", peakMB()},
                                        {"movieMB", static_cast<double>(
                                                        std::filesystem::file_size(session->screenMovie())) /
                                                        1e6}}
                     .dump(2)
              << '\n';
    return 0;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    try {
        return cobaltreel::benchmarks::measure(argc > 1 ? std::stod(argv[1]) : 10);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "RecordingBenchmark: %s\n", error.what());
        return 1;
    }
}
