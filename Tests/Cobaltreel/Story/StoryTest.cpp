// A take by a person's hands, from the click in the tray to the closed preview; and what the movie shows. On
// a Wayland desktop it begins with the panel, in Hebrew.
#include "Rig/ChildProcess.hpp"
#include "Rig/FrameCounter.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;

constexpr int width = 1440, height = 900;  // of the desktop

struct Color {
    int red, green, blue;
};
// Of the windows of the application, and of nothing in the scene.
constexpr Color bubbleRing{212, 160, 23}, startButton{0, 122, 255}, stopButton{255, 69, 59};

/// One picture, scaled to the desktop's size.
struct Picture {
    std::vector<unsigned char> rgb;

    const unsigned char* at(int x, int y) const {
        return &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
    }
    std::optional<std::uint32_t> counter() const {
        return rig::readCounter(width, height, [&](double x, double y) {
            const auto* pixel = at(static_cast<int>(x * width), static_cast<int>(y * height));
            return (pixel[0] + pixel[1] + pixel[2]) / 3;
        });
    }
    /// Pixels of about this color, but for the tray, which shows the program's icon to everybody.
    int count(const Color& color) const {
        int found = 0;
        for (int y = 32; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const auto* pixel = at(x, y);
                found += std::abs(pixel[0] - color.red) < 24 && std::abs(pixel[1] - color.green) < 24 &&
                         std::abs(pixel[2] - color.blue) < 24;
            }
        return found;
    }
};

/// So many pictures a second of a movie; all that there are without a number.
std::vector<Picture> pictures(const fs::path& file, std::optional<int> perSecond = {}) {
    const std::string rate = perSecond ? "fps=" + std::to_string(*perSecond) + "," : "";
    const std::string command = "ffmpeg -v error -i '" + file.string() + "' -vf " + rate +
                                "scale=" + std::to_string(width) + ":" + std::to_string(height) +
                                " -f rawvideo -pix_fmt rgb24 -";
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(popen(command.c_str(), "r"), pclose);
    std::vector<Picture> all;
    for (;;) {
        Picture picture{std::vector<unsigned char>(std::size_t{width} * height * 3)};
        if (fread(picture.rgb.data(), 1, picture.rgb.size(), stream.get()) != picture.rgb.size()) return all;
        all.push_back(std::move(picture));
    }
}

double durationOf(const fs::path& movie) {
    const std::string command =
        "ffprobe -v error -show_entries format=duration -of csv=p=0 '" + movie.string() + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(popen(command.c_str(), "r"), pclose);
    double seconds = 0;
    return fscanf(stream.get(), "%lf", &seconds) == 1 ? seconds : 0;
}

TEST(StoryTest, FromTheTrayToTheMovie) {
    const fs::path root = std::getenv("COBALTREEL_RIG_ROOT"), folder = root / "story";
    const fs::path recordedScreen = root / "screen.mov";
    const bool isWayland = std::getenv("WAYLAND_DISPLAY") != nullptr;
    double recorded = 0;
    {
        rig::ChildProcess story({STORY, COBALTREEL_PROGRAM, folder.string(), isWayland ? "he" : "en"});
        const std::string prefix = "The recording: ";
        const std::string line = story.readLine(300'000);
        ASSERT_TRUE(line.starts_with(prefix)) << line;
        const fs::path session = line.substr(prefix.size());
        // The folder will go; a second name keeps the movie.
        fs::create_hard_link(session / "screen.mov", recordedScreen);
        const auto meta = nlohmann::json::parse(std::ifstream(session / "session.json"));
        recorded = meta.at("recordingEndHostTime").get<double>() - meta.at("screenFirstPTS").get<double>();
        EXPECT_EQ(meta.at("cameraCorner"), "bottomRight");
        EXPECT_TRUE(meta.at("systemAudioEnabled").get<bool>() && meta.at("autoZoomEnabled").get<bool>());
        const auto events = nlohmann::json::parse(std::ifstream(session / "events.json"));
        EXPECT_GT(events.at("samples").size(), 200U);

        std::string last;
        for (std::string next = story.readLine(400'000); !next.empty(); next = story.readLine(60'000))
            last = next;
        EXPECT_THAT(last, testing::HasSubstr("A picture: ")) << "the story did not come to its end";
        EXPECT_FALSE(fs::exists(session)) << "exported and closed";
    }

    const double exported = durationOf(folder / "movie.mp4");
    EXPECT_GT(recorded, 6);
    EXPECT_LT(exported, recorded - 0.3) << "the start was trimmed";
    EXPECT_GT(exported, recorded * 0.75) << "by a share of the whole, however long that took";
    const auto movie = pictures(folder / "movie.mp4", 2);
    ASSERT_GE(movie.size(), 10U);
    const auto screen = pictures(recordedScreen, 4);
    ASSERT_GE(screen.size(), 20U);
    const auto first = screen.front().counter(), last = screen.back().counter();
    ASSERT_TRUE(first && last) << "the recording shows the whole scene";
    std::vector<std::uint32_t> counters;
    for (const Picture& picture : movie) {
        // What is seen from near may look like a counter, too.
        const auto counter = picture.counter();
        if (counter && *counter >= *first && *counter <= *last) counters.push_back(*counter);
    }
    ASSERT_GE(counters.size(), 2U);
    EXPECT_TRUE(std::ranges::is_sorted(counters));
    EXPECT_LT(counters.front(), counters.back()) << "it moves";
    EXPECT_GE(movie.size() - counters.size(), 3U) << "the clicks are seen from near";
    EXPECT_GT(movie.front().count(bubbleRing), 100) << "the camera";

    // The windows that a person saw are not in what was recorded.
    EXPECT_GT(pictures(folder / "panel.png").at(0).count(startButton), 1000);
    // A compositor cannot leave the bubble out, so it hides.
    const int ring = pictures(folder / "bubble.png").at(0).count(bubbleRing);
    EXPECT_TRUE(isWayland ? ring < 30 : ring > 300) << ring;
    for (std::size_t index = 0; index < screen.size(); ++index)
        for (const Color& color : {bubbleRing, startButton, stopButton})
            EXPECT_LT(screen[index].count(color), 30) << "picture " << index << " of four a second";
}

}  // namespace
}  // namespace cobaltreel
