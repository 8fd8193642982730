// Measures the export of a 1080p session against two references, in turns: the floor (the same movie
// decoded, the same number of frames encoded with the same settings, nothing composed) and an FFmpeg
// filter graph that makes the same movie. Every run is a process of its own.
//
//   ExportBenchmark [--long] [--json] [--rounds N] --program COBALTREEL --work FOLDER
//   ExportBenchmark --floor SESSION OUTPUT SECONDS       (one run of the floor)

#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Export/BenchmarkSession.hpp"
#include "Export/FilterGraph.hpp"
#include "Measuring.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoreApplication>
#include <cmath>
#include <cstdio>
#include <future>
#include <iostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace cobaltreel::benchmarks {
namespace {

/// Decodes the whole screen movie and encodes every second frame of it, 30 a second.
int runFloor(const SessionFolder& folder, const std::filesystem::path& output, double duration) {
    const auto media = platform::PlatformServices::makeDefault(bundleIdentifier).media;
    const auto asset = media->asset(folder.screenMovie());
    const auto track = asset->loadTracks(platform::MediaType::video).at(0);
    auto reader = media->makeTrackReader(asset, track, {0, duration}, platform::PixelFormat::i420);
    auto writer = media->makeWriter(output, platform::FileType::mpeg4);
    auto& input = writer->addVideoInput({.codec = platform::VideoCodec::h264,
                                         .width = track.width,
                                         .height = track.height,
                                         .averageBitRate = averageBitRate(ExportOptions::Quality::p1080),
                                         .expectedFrameRate = ExportRenderer::framesPerSecond,
                                         .h264HighProfile = true});
    if (!reader->startReading() || !writer->startWriting()) return 1;
    writer->startSession({0, 600});
    std::int64_t decoded = 0;
    for (std::int64_t i = 0; auto sample = reader->copyNextSampleBuffer(); ++decoded) {
        if (decoded % 2 != 0) continue;
        while (!input.waitUntilReady(0.1) && writer->status() == platform::AssetWriter::Status::writing) {
        }
        input.append({{i++ * 20, 600}, sample->image, nullptr});
    }
    const auto finished = std::make_shared<std::promise<void>>();
    writer->finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    return writer->status() == platform::AssetWriter::Status::completed ? 0 : 1;
}

struct Options {
    bool json = false;
    int rounds = 3;
    double duration = 20;
    std::string self, program;
    std::filesystem::path work;
};

std::vector<std::string> exportCommand(const Options& options, const BenchmarkSession& session,
                                       double seconds) {
    return {options.program,
            "export",
            session.folder.dir.string(),
            "--auto-zoom",
            "on",
            "--ripples",
            "on",
            "--camera",
            "on",
            "--system-audio",
            "on",
            "--trim-end",
            std::to_string(seconds),
            "--output",
            (options.work / "ours.mp4").string()};
}

ProcessFigures measured(const std::vector<std::string>& command) {
    const auto figures = measureProcess(command);
    if (!figures.succeeded) throw std::runtime_error("this run failed: " + command[0] + " " + command[1]);
    return figures;
}

int compare(const Options& options) {
    const auto media = platform::PlatformServices::makeDefault(bundleIdentifier).media;
    const auto session = BenchmarkSession::prepare(
        options.work / ("session-" + std::to_string(static_cast<int>(options.duration))), options.duration,
        *media);
    const auto clicks =
        ExportRenderer::clicksInOutputTime(session.folder.readEvents(), session.meta, 0, session.duration);
    const auto moves = ZoomEngine::moves(clicks, 1920, 1080, session.duration, ZoomConfig{});

    const auto ours = exportCommand(options, session, session.duration);
    const std::vector<std::string> floor{options.self, "--floor", session.folder.dir.string(),
                                         (options.work / "floor.mp4").string(),
                                         std::to_string(session.duration)};
    const auto graph =
        filterGraphCommand(session, moves, options.work / "circle.pgm", options.work / "graph.mp4");

    std::vector<double> overFloor, overGraph, rates, cpuOverFloor;
    double peak = 0;
    for (int round = 0; round < options.rounds; ++round) {
        const auto a = measured(ours), b = measured(floor), c = measured(graph);
        overFloor.push_back(a.wallSeconds / b.wallSeconds);
        cpuOverFloor.push_back(a.cpuSeconds / b.cpuSeconds);
        overGraph.push_back(a.wallSeconds / c.wallSeconds);
        rates.push_back(session.duration * ExportRenderer::framesPerSecond / a.wallSeconds);
        peak = std::max(peak, a.peakMB);
        std::fprintf(stderr, "round %d: export %.2f s, floor %.2f s, filter graph %.2f s\n", round + 1,
                     a.wallSeconds, b.wallSeconds, c.wallSeconds);
    }
    const double halfPeak = measured(exportCommand(options, session, session.duration / 2)).peakMB;

    const Spread floorRatio = spreadOf(overFloor), graphRatio = spreadOf(overGraph), rate = spreadOf(rates);
    if (options.json) {
        std::cout << nlohmann::ordered_json{{"overFloor", floorRatio.median},
                                            {"overFloorSpread", {floorRatio.least, floorRatio.most}},
                                            {"cpuOverFloor", spreadOf(cpuOverFloor).median},
                                            {"overFilterGraph", graphRatio.median},
                                            {"overFilterGraphSpread", {graphRatio.least, graphRatio.most}},
                                            {"peakMB", peak},
                                            {"peakMBOfHalfTheLength", halfPeak},
                                            {"framesPerSecond", rate.median}}
                         .dump(2)
                  << '\n';
        return 0;
    }
    std::printf("export / floor          %.3f   (%.3f to %.3f)\n", floorRatio.median, floorRatio.least,
                floorRatio.most);
    std::printf("processor time / floor  %.3f\n", spreadOf(cpuOverFloor).median);
    std::printf("export / filter graph   %.3f   (%.3f to %.3f)\n", graphRatio.median, graphRatio.least,
                graphRatio.most);
    std::printf("frames a second         %.1f   (%.1f to %.1f)\n", rate.median, rate.least, rate.most);
    std::printf("peak memory             %.0f MB; for half the length %.0f MB\n", peak, halfPeak);
    return 0;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    using namespace cobaltreel::benchmarks;
    QCoreApplication application(argc, argv);
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.size() == 4 && words[0] == "--floor")
            return runFloor({words[1]}, words[2], std::stod(words[3]));
        Options options;
        options.self = argv[0];
        for (std::size_t i = 0; i < words.size(); ++i) {
            const auto value = [&] {
                return ++i < words.size() ? words[i] : throw std::runtime_error("a value is missing");
            };
            if (words[i] == "--json")
                options.json = true;
            else if (words[i] == "--long")
                options.duration = 120;
            else if (words[i] == "--rounds")
                options.rounds = std::stoi(value());
            else if (words[i] == "--program")
                options.program = value();
            else if (words[i] == "--work")
                options.work = value();
            else
                throw std::runtime_error("unknown argument " + words[i]);
        }
        if (options.program.empty() || options.work.empty())
            throw std::runtime_error("--program and --work are needed");
        std::filesystem::create_directories(options.work);
        return compare(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ExportBenchmark: %s\n", error.what());
        return 1;
    }
}
