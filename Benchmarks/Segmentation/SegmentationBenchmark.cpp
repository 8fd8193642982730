// Cuts rendered people, whose masks are known exactly, out of rendered rooms, and prints how well.
// Benchmarks/segmentation --help tells the options.

#include "Composites.hpp"
#include "ContactSheet.hpp"
#include "Cut.hpp"
#include "PersonSession.hpp"
#include "Pictures.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "Platform/Vision/OpenCv/OpenCvVisionService.hpp"
#include "RenderedPeople/Scene.hpp"
#include "Scores.hpp"

#include <array>
#include <cstdio>
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace cobaltreel::benchmarks {
namespace {

using Quality = platform::PersonSegmentationRequest::QualityLevel;
using rendered::Scene;

struct Options {
    unsigned seed = 90210;
    bool longer = false, json = false, verbose = false;
    std::string sheet, session, pictures, rooms, composites;
};

struct Level {
    const char* name;
    Quality quality;
    Scores scores{};
};

void judgeTake(const Scene& scene, int frames, double step, platform::VisionService& vision,
               std::array<Level, 2>& levels, ContactSheet& sheet, const Options& options) {
    struct Worst {
        double iou = 2, sum = 0;
        int judged = 0;
        cv::Mat3b picture;
        cv::Mat1b mask, truth;
    };
    std::array<Worst, 2> worst;
    std::array<std::unique_ptr<platform::PersonSegmentationRequest>, 2> requests;
    for (std::size_t q = 0; q < levels.size(); ++q) {
        requests[q] = vision.makePersonSegmentationRequest(levels[q].quality);
        levels[q].scores.beginTake();
    }
    const bool still = scene.description().motion == Scene::Motion::still;
    for (int i = 0; i < frames; ++i) {
        const double seconds = i * step;
        const auto frame = scene.at(seconds);
        const auto buffer = composited::asBgra(frame.picture);
        for (std::size_t q = 0; q < levels.size(); ++q) {
            const Cut result = cut(*requests[q], *buffer);
            levels[q].scores.addTime(result.cpuMs, result.wallMs);
            const auto iou = levels[q].scores.add(result.mask, frame.truth, seconds, still);
            if (!iou) continue;
            worst[q].sum += *iou;
            ++worst[q].judged;
            if (*iou < worst[q].iou)
                worst[q] = {*iou, worst[q].sum, worst[q].judged, frame.picture, result.mask, frame.truth};
        }
    }
    for (std::size_t q = 0; q < levels.size(); ++q) {
        if (!worst[q].judged) continue;
        char caption[120];
        std::snprintf(caption, sizeof caption, "%s, %s: %.2f, mean %.2f", scene.description().name().c_str(),
                      levels[q].name, worst[q].iou, worst[q].sum / worst[q].judged);
        if (options.verbose) std::fprintf(stderr, "%s\n", caption);
        if (!options.sheet.empty()) sheet.add(worst[q].picture, worst[q].mask, worst[q].truth, caption);
    }
}

void print(const std::array<Level, 2>& levels, const Options& options) {
    if (options.json) {
        nlohmann::ordered_json document;
        double found = 0, empty = 0;
        for (const auto& level : levels) {
            const Scores& s = level.scores;
            document[level.name] = {{"meanIoU", s.meanIoU()},          {"worstIoU", s.worstIoU()},
                                    {"borderPx", s.borderPx()},        {"flickerShare", s.flickerShare()},
                                    {"msPerFrame", s.cpuMsPerFrame()}, {"wallMsPerFrame", s.wallMsPerFrame()},
                                    {"slowestMs", s.slowestCpuMs()},   {"framesBelow0.7", s.lowFrames()},
                                    {"frames", s.judgedFrames()}};
            found += s.emptyRoomPersonShare() * s.emptyFrames();
            empty += s.emptyFrames();
        }
        document["emptyRoomPersonShare"] = empty > 0 ? found / empty : 0;
        std::cout << document.dump(2) << '\n';
        return;
    }
    std::printf("%-9s %8s %9s %9s %9s %9s %10s %10s %12s\n", "", "mean IoU", "worst IoU", "below 0.7",
                "border px", "flicker %", "ms / frame", "slowest ms", "empty room %");
    for (const auto& level : levels) {
        const Scores& s = level.scores;
        std::printf("%-9s %8.4f %9.3f %9d %9.2f %9.3f %10.1f %10.1f %12.2f\n", level.name, s.meanIoU(),
                    s.worstIoU(), s.lowFrames(), s.borderPx(), 100 * s.flickerShare(), s.cpuMsPerFrame(),
                    s.slowestCpuMs(), 100 * s.emptyRoomPersonShare());
    }
    std::printf(
        "%d frames with a person, %d without; worst and below 0.7 count from each take's first second on\n",
        levels[0].scores.judgedFrames(), levels[0].scores.emptyFrames());
}

/// A session to export by hand: somebody who moves before a busy wall for five seconds.
int writeSession(const Options& options) {
    const SessionFolder folder{options.session};
    std::filesystem::create_directories(folder.dir);
    const Scene scene(rendered::variedScenes(options.seed, 2).back());
    PersonSession::write(folder, *platform::makeFFmpegMediaService(), 5,
                         [&](double time) { return scene.at(time).picture; });
    return 0;
}

int run(const Options& options) {
    if (!options.session.empty()) return writeSession(options);
    cv::setNumThreads(1);  // the figures are those of one core
    platform::OpenCvVisionService vision{std::filesystem::path()};
    std::fprintf(stderr, "%s\n", vision.implementation().c_str());
    if (!options.pictures.empty()) {
        cutPictures(options.pictures, options.sheet.empty() ? "pictures.png" : options.sheet, vision);
        return 0;
    }
    if (!options.rooms.empty()) {
        searchRooms(options.rooms, vision);
        return 0;
    }
    std::array<Level, 2> levels = {Level{"fast", Quality::fast}, Level{"accurate", Quality::accurate}};
    ContactSheet sheet;
    if (!options.composites.empty()) {
        for (auto& level : levels)
            cutComposites(options.composites, vision, level.quality, level.scores, sheet);
        print(levels, options);
        if (!options.sheet.empty()) sheet.write(options.sheet, 4);
        return 0;
    }
    // Ten frames a second make every movement twice as large as the live view sees it.
    const double step = options.longer ? 1.0 / 20 : 1.0 / 10;
    const int takes = options.longer ? 60 : 12, frames = options.longer ? 120 : 46;
    const int rooms = options.longer ? 60 : 12, roomFrames = options.longer ? 40 : 9;
    for (const auto& description : rendered::variedScenes(options.seed, takes))
        judgeTake(Scene(description), frames, step, vision, levels, sheet, options);
    for (const auto& description : rendered::emptyRooms(options.seed, rooms))
        judgeTake(Scene(description), roomFrames, step, vision, levels, sheet, options);
    print(levels, options);
    if (!options.sheet.empty()) sheet.write(options.sheet, 4);
    return 0;
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    cobaltreel::benchmarks::Options options;
    CLI::App app("How well rendered people are cut out of rendered rooms, and how fast, on one core.",
                 "Benchmarks/segmentation");
    app.add_flag("--long", options.longer, "five times as many takes, longer and with more frames");
    app.add_flag("--json", options.json, "print one JSON document");
    app.add_flag("--verbose", options.verbose, "tell each take's figures as well");
    app.add_option("--sheet", options.sheet, "write a PNG with the worst frame of every take");
    app.add_option("--seed", options.seed, "another set of people and rooms");
    app.add_option("--session", options.session,
                   "measure nothing; write a session with such a person into this folder");
    app.add_option(
        "--pictures", options.pictures,
        "cut people out of the PNG and JPEG pictures in this folder instead, onto a sheet to look at "
        "(--sheet, pictures.png without it), and print the overlap with NAME.mask.png where there is one");
    app.add_option("--rooms", options.rooms,
                   "search the PNG and JPEG pictures in this folder, which show nobody, for people");
    app.add_option(
        "--composites", options.composites,
        "lay the people in this folder whose masks are known over other rooms, NAME.room.jpg among "
        "them, with noise, blur, exposure steps and compression, and cut them out again");
    CLI11_PARSE(app, argc, argv);
    try {
        return cobaltreel::benchmarks::run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "segmentation: %s\n", error.what());
        return 1;
    }
}
