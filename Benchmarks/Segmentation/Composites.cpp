#include "Composites.hpp"

#include "ContactSheet.hpp"
#include "Cut.hpp"
#include "Pictures.hpp"
#include "Platform/Vision/CompositedPeople/CompositedTake.hpp"
#include "Platform/Vision/CompositedPeople/PictureFile.hpp"
#include "RenderedPeople/Scene.hpp"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace cobaltreel::benchmarks {
namespace {

using composited::CompositedTake;
using Trouble = CompositedTake::Trouble;
using rendered::Room;
using rendered::Scene;

constexpr int frames = 20;
constexpr double step = 0.1;

std::string nameOf(const std::filesystem::path& file) { return file.stem().string(); }

bool isRoom(const std::filesystem::path& file) { return nameOf(file).ends_with(".room"); }

}  // namespace

void cutComposites(const std::filesystem::path& folder, platform::VisionService& vision,
                   platform::PersonSegmentationRequest::QualityLevel quality, Scores& scores,
                   ContactSheet& sheet) {
    struct Place {
        std::string name;
        cv::Mat3b picture;
    };
    std::vector<Place> rooms;
    for (const auto kind : {Room::Kind::office, Room::Kind::bookshelf, Room::Kind::window})
        rooms.push_back(
            {Room::name(kind),
             Scene({.seed = 11, .room = kind, .motion = Scene::Motion::empty, .noise = 0}).at(0).picture});
    const auto files = pictureFiles(folder);
    for (const auto& file : files)
        if (isRoom(file)) rooms.push_back({nameOf(file), composited::readPictureFile(file)});

    int people = 0;
    for (const auto& file : files) {
        const auto mask = composited::maskFileOf(file);
        if (!mask) continue;
        const composited::Cutout person{composited::readPictureFile(file), composited::readMaskFile(*mask)};
        for (std::size_t r = 0; r < rooms.size(); ++r) {
            // Each person meets each trouble and sits still in some room; all of them in all rooms say no
            // more.
            const auto trouble =
                static_cast<Trouble>((r + static_cast<std::size_t>(people)) % CompositedTake::troubleCount);
            const bool moves = r % 2 == 0;
            const CompositedTake take(person, rooms[r].picture, trouble,
                                      moves ? CompositedTake::Motion::sway : CompositedTake::Motion::still);
            const auto request = vision.makePersonSegmentationRequest(quality);
            scores.beginTake();
            double worst = 2, sum = 0;
            CompositedTake::Frame worstFrame;
            cv::Mat1b worstMask;
            for (int i = 0; i < frames; ++i) {
                const auto frame = take.at(i * step);
                const Cut result = cut(*request, *composited::asBgra(frame.picture));
                scores.addTime(result.cpuMs, result.wallMs);
                const double iou = scores.add(result.mask, frame.truth, i * step, !moves).value_or(1);
                sum += iou;
                if (iou >= worst) continue;
                worst = iou;
                worstFrame = frame;
                worstMask = result.mask;
            }
            char caption[160];
            std::snprintf(caption, sizeof caption, "%s, %s, %s: %.3f, mean %.3f", nameOf(file).c_str(),
                          rooms[r].name.c_str(), CompositedTake::name(trouble), worst, sum / frames);
            std::fprintf(stderr, "%s\n", caption);
            sheet.add(worstFrame.picture, worstMask, worstFrame.truth, caption);
        }
        ++people;
    }
    if (people == 0)
        throw std::runtime_error("There is no picture of a person with a mask (NAME.mask.png) in " +
                                 folder.string() + ".");
    for (const Place& room : rooms) {
        const auto request = vision.makePersonSegmentationRequest(quality);
        const Cut result = cut(*request, *composited::asBgra(room.picture));
        scores.addEmpty(!result.mask.empty());
    }
}

}  // namespace cobaltreel::benchmarks
