// Measures the export of 1080p sessions against references, in turns:
//   floor: the same movie decoded, the same number of frames encoded with the same settings, nothing composed
//   encode floor: all movies and the sound decoded, the already composed frames encoded with the same
//   settings filter graph: FFmpeg making the same movie as well, by libx264's veryfast preset at equal
//   similarity
// for three kinds of takes (BenchmarkSession.hpp). Every run is a process of its own.
//
//   ExportBenchmark [--long] [--json] [--rounds N] --program COBALTREEL --work FOLDER
//   ExportBenchmark --floor SESSION OUTPUT SECONDS               (one run of the floor)
//   ExportBenchmark --compose SESSION FRAMES SECONDS             (writes the composed frames)
//   ExportBenchmark --encode-floor SESSION OUTPUT SECONDS FRAMES (one run of the encode floor)

#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Export/BenchmarkSession.hpp"
#include "Export/ComposedFrames.hpp"
#include "Export/FilterGraph.hpp"
#include "Measuring.hpp"
#include "Platform/PlatformServices.hpp"

#include <QGuiApplication>
#include <cmath>
#include <cstdio>
#include <future>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
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

ExportOptions optionsOf(const SessionMeta& meta, const std::filesystem::path& output, double duration) {
    ExportOptions options;
    options.trimEnd = duration;
    options.autoZoom = true;
    options.bubble = meta.cameraEnabled;
    options.systemAudio = meta.systemAudioEnabled;
    options.cameraStyle = meta.cameraStyle.value_or(CameraStyle::bubble);
    options.outputPath = output;
    return options;
}

int composeFrames(const SessionFolder& folder, const std::filesystem::path& output, double duration) {
    const auto services = platform::PlatformServices::makeDefault(bundleIdentifier);
    const SessionMeta meta = folder.readMeta();
    ExportRenderer(folder, meta, keepingFrames(services.media), services.vision)
        .exportMovie(optionsOf(meta, output, duration));
    return 0;
}

/// The sound that the export mixes.
platform::Composition soundOf(platform::MediaService& media, const SessionFolder& folder,
                              const SessionMeta& meta, double duration) {
    platform::Composition composition;
    std::vector<std::filesystem::path> movies{folder.cameraMovie()};
    if (meta.systemAudioEnabled) movies.push_back(folder.screenMovie());
    for (const auto& movie : movies) {
        const auto asset = media.asset(movie);
        const auto track = asset->loadTracks(platform::MediaType::audio).at(0);
        composition.addMutableTrack(platform::MediaType::audio)
            .insertTimeRange({0, std::min(duration, track.timeRange.end)}, asset, track, 0);
    }
    return composition;
}

int runEncodeFloor(const SessionFolder& folder, const std::filesystem::path& output, double duration,
                   const std::filesystem::path& framesFile) {
    const auto media = platform::PlatformServices::makeDefault(bundleIdentifier).media;
    const SessionMeta meta = folder.readMeta();
    const auto open = [&](const std::filesystem::path& movie) {
        const auto asset = media->asset(movie);
        auto reader = media->makeTrackReader(asset, asset->loadTracks(platform::MediaType::video).at(0),
                                             {0, duration}, platform::PixelFormat::i420);
        if (!reader->startReading()) throw std::runtime_error("a movie cannot be read");
        return FrameSource(std::move(reader), 0);
    };
    FrameSource screen = open(folder.screenMovie());
    std::optional<FrameSource> camera;
    if (meta.cameraEnabled) camera = open(folder.cameraMovie());
    const auto sound = media->makeAudioMixReader(soundOf(*media, folder, meta, duration));

    const int width = static_cast<int>(meta.captureWidthPx), height = static_cast<int>(meta.captureHeightPx);
    const ComposedFrames frames(framesFile, width, height);
    const auto writer = media->makeWriter(output, platform::FileType::mpeg4);
    auto& pictures = writer->addVideoInput({.codec = platform::VideoCodec::h264,
                                            .width = width,
                                            .height = height,
                                            .averageBitRate = averageBitRate(ExportOptions::Quality::p1080),
                                            .expectedFrameRate = ExportRenderer::framesPerSecond,
                                            .h264HighProfile = true});
    auto& voice = writer->addAudioInput({.sampleRate = 48000, .channels = 2, .bitRate = 128000});
    if (!sound->startReading() || !writer->startWriting()) return 1;
    writer->startSession({0, 600});
    double heard = -1;
    const auto isWriting = [&] { return writer->status() == platform::AssetWriter::Status::writing; };
    for (std::int64_t i = 0; i < frames.count(); ++i) {
        const double t = static_cast<double>(i) / ExportRenderer::framesPerSecond;
        screen.advance(t);
        if (camera) camera->advance(t);
        while (heard < t + 0.5 && voice.isReadyForMoreMediaData()) {
            const auto run = sound->copyNextSampleBuffer();
            if (!run) break;
            voice.append(*run);
            heard = run->presentationTime.seconds();
        }
        while (!pictures.waitUntilReady(0.1) && isWriting()) {
        }
        pictures.append({{i * 20, 600}, frames.at(i), nullptr});
    }
    const auto finished = std::make_shared<std::promise<void>>();
    writer->finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    return writer->status() == platform::AssetWriter::Status::completed ? 0 : 1;
}

struct Options {
    bool json = false;
    int rounds = 3;
    double duration = 12;
    std::string self, program;
    std::filesystem::path work;
};

std::vector<std::string> exportCommand(const Options& options, const BenchmarkSession& session,
                                       double seconds) {
    const auto position = [](bool on) { return on ? "on" : "off"; };
    return {options.program,
            "export",
            session.folder.dir.string(),
            "--auto-zoom",
            "on",
            "--ripples",
            "on",
            "--camera",
            position(session.meta.cameraEnabled),
            "--system-audio",
            position(session.meta.systemAudioEnabled),
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

nlohmann::ordered_json figuresOf(const std::vector<double>& values) {
    const Spread spread = spreadOf(values);
    return {{"median", spread.median}, {"least", spread.least}, {"most", spread.most}};
}

nlohmann::ordered_json compare(const Options& options, TakeKind kind, const std::string& name) {
    const auto media = platform::PlatformServices::makeDefault(bundleIdentifier).media;
    const auto session = BenchmarkSession::prepare(
        options.work / (name + "-" + std::to_string(static_cast<int>(options.duration))), kind,
        options.duration, *media);
    const auto clicks =
        ExportRenderer::clicksInOutputTime(session.folder.readEvents(), session.meta, 0, session.duration);
    const auto moves = ZoomEngine::moves(clicks, 1920, 1080, session.duration, ZoomConfig{});

    const auto ours = exportCommand(options, session, session.duration);
    const std::string folder = session.folder.dir.string(), seconds = std::to_string(session.duration);
    const std::string frames = (options.work / "frames.yuv").string();
    const auto own = [&](const char* what, const std::string& output) {
        return std::vector<std::string>{options.self, what, folder, output, seconds};
    };
    measured(own("--compose", frames));
    auto encodeFloor = own("--encode-floor", (options.work / "encoded.mp4").string());
    encodeFloor.push_back(frames);
    FilterGraph graph(session, moves, options.work);
    measured(ours);
    graph.matchQuality(options.work / "ours.mp4", frames);

    std::vector<double> overFloor, overEncodeFloor, overGraph, rates, cpuOverEncodeFloor;
    double peak = 0;
    for (int round = 0; round < options.rounds; ++round) {
        const auto a = measured(ours), c = measured(encodeFloor), d = measured(graph.command());
        overEncodeFloor.push_back(a.wallSeconds / c.wallSeconds);
        cpuOverEncodeFloor.push_back(a.cpuSeconds / c.cpuSeconds);
        overGraph.push_back(a.wallSeconds / d.wallSeconds);
        rates.push_back(session.duration * ExportRenderer::framesPerSecond / a.wallSeconds);
        peak = std::max(peak, a.peakMB);
        std::fprintf(stderr, "%s, round %d: export %.2f s, encode floor %.2f s, filter graph %.2f s",
                     name.c_str(), round + 1, a.wallSeconds, c.wallSeconds, d.wallSeconds);
        if (kind == TakeKind::busy) {
            const auto b = measured(own("--floor", (options.work / "floor.mp4").string()));
            overFloor.push_back(a.wallSeconds / b.wallSeconds);
            std::fprintf(stderr, ", floor %.2f s", b.wallSeconds);
        }
        std::fprintf(stderr, "\n");
    }
    const auto megabytes = [&](const char* movie) {
        return static_cast<double>(std::filesystem::file_size(options.work / movie)) / 1e6;
    };
    nlohmann::ordered_json figures{{"overEncodeFloor", figuresOf(overEncodeFloor)},
                                   {"cpuOverEncodeFloor", figuresOf(cpuOverEncodeFloor)},
                                   {"overFilterGraph", figuresOf(overGraph)},
                                   {"framesPerSecond", spreadOf(rates).median},
                                   {"peakMB", peak},
                                   {"movieMB", megabytes("ours.mp4")},
                                   {"similarity", graph.wishedSimilarity()},
                                   {"filterGraphMovieMB", megabytes("graph.mp4")},
                                   {"filterGraphSimilarity", graph.similarity()},
                                   {"filterGraphCrf", graph.crf()}};
    figures["peakMBOfHalfTheLength"] = measured(exportCommand(options, session, session.duration / 2)).peakMB;
    if (!overFloor.empty()) figures["overFloor"] = figuresOf(overFloor);
    std::filesystem::remove(frames);
    return figures;
}

int compare(const Options& options) {
    nlohmann::ordered_json all;
    for (const auto& [kind, name] :
         {std::pair{TakeKind::busy, "busy"}, std::pair{TakeKind::typical, "typical"},
          std::pair{TakeKind::still, "still"}}) {
        all[name] = compare(options, kind, name);
        if (options.json) continue;
        std::printf("%s\n", name);
        for (const auto& [key, value] : all[name].items())
            if (value.is_object())
                std::printf("  %-22s %.3f   (%.3f to %.3f)\n", key.c_str(), value["median"].get<double>(),
                            value["least"].get<double>(), value["most"].get<double>());
            else
                std::printf("  %-22s %.4g\n", key.c_str(), value.get<double>());
    }
    if (options.json) std::cout << all.dump(2) << '\n';
    return 0;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    using namespace cobaltreel::benchmarks;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (words.size() == 4 && words[0] == "--floor")
            return runFloor({words[1]}, words[2], std::stod(words[3]));
        if (words.size() == 4 && words[0] == "--compose")
            return composeFrames({words[1]}, words[2], std::stod(words[3]));
        if (words.size() == 5 && words[0] == "--encode-floor")
            return runEncodeFloor({words[1]}, words[2], std::stod(words[3]), words[4]);
        Options options;
        options.self = argv[0];
        CLI::App app;
        app.add_flag("--json", options.json);
        app.add_flag_callback("--long", [&] { options.duration = 120; });
        app.add_option("--rounds", options.rounds);
        app.add_option("--program", options.program)->required();
        app.add_option("--work", options.work)->required();
        CLI11_PARSE(app, argc, argv);
        std::filesystem::create_directories(options.work);
        return compare(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ExportBenchmark: %s\n", error.what());
        return 1;
    }
}
