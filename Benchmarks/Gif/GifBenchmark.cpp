// Measures the GIF writer against FFmpeg's palettegen and paletteuse on the same frames, in turns: those that
// the export of a session composes for a GIF. Every run is a process of its own, confined to two processors.
//
//   GifBenchmark [--rounds N] [--json] --work FOLDER --session FOLDER [--trim-start S] [--trim-end S]
//   GifBenchmark --encode FRAMES WIDTH HEIGHT RATE OUTPUT   (one run of ours)

#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Export/ComposedFrames.hpp"
#include "Measuring.hpp"
#include "Platform/PlatformServices.hpp"

#include <QCoreApplication>
#include <cstdio>
#include <future>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace cobaltreel::benchmarks {
namespace {

using Words = std::vector<std::string>;

constexpr int rate = 15;

int encode(const std::filesystem::path& framesFile, int width, int height, int framesPerSecond,
           const std::filesystem::path& output) {
    const auto media = platform::PlatformServices::makeDefault(bundleIdentifier).media;
    const ComposedFrames frames(framesFile, width, height);
    const auto writer = media->makeWriter(output, platform::FileType::gif);
    platform::VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.expectedFrameRate = framesPerSecond;
    auto& input = writer->addVideoInput(settings);
    if (!writer->startWriting()) return 1;
    writer->startSession({0, framesPerSecond});
    const auto isWriting = [&] { return writer->status() == platform::AssetWriter::Status::writing; };
    for (std::int64_t i = 0; i < frames.count(); ++i) {
        while (!input.waitUntilReady(0.1) && isWriting()) {
        }
        input.append({{i, framesPerSecond}, frames.at(i), nullptr});
    }
    const auto finished = std::make_shared<std::promise<void>>();
    writer->finishWriting([finished] { finished->set_value(); });
    finished->get_future().wait();
    return writer->status() == platform::AssetWriter::Status::completed ? 0 : 1;
}

struct Options {
    std::string self;
    std::filesystem::path work, session;
    int rounds = 3;
    bool json = false;
    double trimStart = 0, trimEnd = 0;
};

int compare(const Options& options) {
    const auto services = platform::PlatformServices::makeDefault(bundleIdentifier);
    const SessionFolder folder{options.session};
    const SessionMeta meta = folder.readMeta();
    const auto frames = options.work / "gif-frames.yuv";
    ExportOptions exported;
    exported.format = ExportFormat::gif;
    exported.quality = ExportOptions::Quality::p720;
    exported.framesPerSecond = rate;
    exported.trimStart = options.trimStart;
    exported.trimEnd = options.trimEnd > 0
                           ? options.trimEnd
                           : meta.recordingEndHostTime.value_or(0) - meta.screenFirstPTS.value_or(0);
    exported.bubble = meta.cameraEnabled;
    exported.zoomTiming = ZoomTiming::anticipating;
    exported.outputPath = frames;
    ExportRenderer(folder, meta, keepingFrames(services.media), services.vision).exportMovie(exported);

    const OutputSize size = outputSize(exported, meta);
    const std::string width = std::to_string(size.w), height = std::to_string(size.h),
                      fps = std::to_string(rate);
    const auto ourFile = options.work / "ours.gif", theirFile = options.work / "palette.gif";
    const Words onTwo{"taskset", "-c", "0,1"};
    const auto confined = [&](Words command) {
        command.insert(command.begin(), onTwo.begin(), onTwo.end());
        return command;
    };
    const Words ours = confined({options.self, "--encode", frames, width, height, fps, ourFile});
    const Words theirs = confined(
        {"ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", width + 'x' + height,
         "-r", fps, "-i", frames, "-vf",
         "split[a][b];[a]palettegen=stats_mode=diff[p];[b][p]paletteuse=diff_mode=rectangle", theirFile});
    std::vector<double> wall, cpu;
    for (int round = 0; round < options.rounds; ++round) {
        const auto a = measureProcess(ours), b = measureProcess(theirs);
        if (!a.succeeded || !b.succeeded) throw std::runtime_error("a run failed");
        wall.push_back(a.wallSeconds / b.wallSeconds);
        cpu.push_back(a.cpuSeconds / b.cpuSeconds);
        std::fprintf(stderr, "round %d: ours %.2f s, palettegen and paletteuse %.2f s\n", round + 1,
                     a.wallSeconds, b.wallSeconds);
    }
    const auto megabytes = [](const std::filesystem::path& file) {
        return static_cast<double>(std::filesystem::file_size(file)) / 1e6;
    };
    const nlohmann::ordered_json figures{{"overPaletteUse", spreadOf(wall).median},
                                         {"cpuOverPaletteUse", spreadOf(cpu).median},
                                         {"gifMB", megabytes(ourFile)},
                                         {"paletteUseMB", megabytes(theirFile)}};
    if (options.json)
        std::printf("%s\n", figures.dump(2).c_str());
    else
        for (const auto& [key, value] : figures.items())
            std::printf("%-20s %.3f\n", key.c_str(), value.get<double>());
    std::filesystem::remove(frames);
    return 0;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    using namespace cobaltreel::benchmarks;
    const QCoreApplication application(argc, argv);
    const Words words(argv + 1, argv + argc);
    try {
        if (words.size() == 6 && words[0] == "--encode")
            return encode(words[1], std::stoi(words[2]), std::stoi(words[3]), std::stoi(words[4]), words[5]);
        Options options;
        options.self = argv[0];
        CLI::App app;
        app.add_flag("--json", options.json);
        app.add_option("--rounds", options.rounds);
        app.add_option("--work", options.work)->required();
        app.add_option("--session", options.session)->required();
        app.add_option("--trim-start", options.trimStart);
        app.add_option("--trim-end", options.trimEnd);
        CLI11_PARSE(app, argc, argv);
        std::filesystem::create_directories(options.work);
        return compare(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "GifBenchmark: %s\n", error.what());
        return 1;
    }
}
