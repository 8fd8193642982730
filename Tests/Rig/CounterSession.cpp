#include "Rig/CounterSession.hpp"

#include "Rig/FrameCounter.hpp"
#include "Rig/MovieMaker.hpp"
#include "Rig/PlainSession.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <functional>
#include <numbers>

namespace rig {
namespace {

using platform::PixelBuffer;

constexpr double screenFirst = 1000;
constexpr int soundRate = 48000;
/// The strip's height, as a share of the picture's.
constexpr double stripShare = 0.06;

void fill(const platform::Plane& plane, int left, int top, int width, int height, int value) {
    const int right = std::min(left + width, plane.width);
    for (int y = std::max(top, 0); y < std::min(top + height, plane.height); ++y)
        std::memset(plane.data + static_cast<std::ptrdiff_t>(y) * plane.stride + std::max(left, 0), value,
                    static_cast<std::size_t>(std::max(0, right - std::max(left, 0))));
}

/// The number over a page that scrolls, with a block that runs about.
std::shared_ptr<PixelBuffer> draw(int width, int height, int frame, int hue) {
    auto picture = std::make_shared<PixelBuffer>(platform::PixelFormat::i420, width, height);
    const auto& luma = picture->plane(0);
    fill(luma, 0, 0, width, height, 210);
    for (int line = 0; line * 24 < height + 24; ++line) {
        const int y = line * 24 - frame * 2 % 24;
        fill(luma, 20, y, width / 3 + (line + frame / 12) * 97 % (width / 2), 10, 60);
    }
    const int side = height / 4;
    fill(luma, (frame * 7) % std::max(1, width - side), height / 2, side, side, 120);
    fill(picture->plane(1), 0, 0, width, height, hue);
    fill(picture->plane(2), 0, 0, width, height, 255 - hue);
    const int strip = static_cast<int>(std::lround(stripShare * height));
    for (int cell = 0; cell < counterCells; ++cell) {
        const int left = cell * width / counterCells, right = (cell + 1) * width / counterCells;
        fill(luma, left, 0, right - left, strip,
             counterCell(static_cast<std::uint32_t>(frame), cell) ? 235 : 16);
    }
    return picture;
}

/// A tone that rises, so that its height tells the time; silence where it is not wanted.
std::shared_ptr<platform::AudioBuffer> tone(std::int64_t from, std::size_t frames, bool isWanted) {
    auto sound = std::make_shared<platform::AudioBuffer>();
    sound->format = {soundRate, 1, true};
    sound->bytes.resize(frames * sound->format.bytesPerFrame());
    auto samples = sound->floats();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = static_cast<double>(from + static_cast<int>(i)) / soundRate;
        const double turns = (CounterSession::toneStart + CounterSession::toneRise * t / 2) * t;
        samples[i] = isWanted ? static_cast<float>(0.1 * std::sin(2 * std::numbers::pi * turns)) : 0;
    }
    return sound;
}

void writeMovie(platform::MediaService& media, const std::filesystem::path& path,
                const platform::VideoSettings& video, double first, double seconds, bool sounds,
                const std::function<std::shared_ptr<PixelBuffer>(int)>& picture) {
    MovieMaker movie(media, path, video,
                     platform::AudioSettings{.sampleRate = soundRate, .channels = 1, .bitRate = 96000},
                     first);
    const int rate = static_cast<int>(video.expectedFrameRate);
    const auto soundPerFrame = static_cast<std::size_t>(soundRate / rate);
    for (int i = 0; i < static_cast<int>(seconds * rate); ++i) {
        const double time = static_cast<double>(i) / rate;
        movie.add(time, picture(i));
        movie.add(time, tone(static_cast<std::int64_t>(soundPerFrame) * i, soundPerFrame, sounds));
    }
    movie.finish();
}

}  // namespace

cobaltreel::SessionMeta CounterSession::prepare(const cobaltreel::SessionFolder& folder,
                                                platform::MediaService& media) const {
    cobaltreel::SessionMeta meta = plainSession(width, height, screenFirst);
    meta.cameraFirstPTS = screenFirst - cameraLead;
    meta.recordingEndHostTime = screenFirst + seconds;
    meta.cameraEnabled = meta.autoZoomEnabled = meta.systemAudioEnabled = true;
    meta.bubbleSizeFraction = 0.24;
    try {
        if (folder.readMeta() == meta) return meta;
    } catch (const std::exception&) {
        // Not made yet.
    }
    std::filesystem::create_directories(folder.dir);
    writeMovie(media, folder.screenMovie(),
               {.codec = platform::VideoCodec::hevc,
                .width = width,
                .height = height,
                .averageBitRate = 8LL * width * height,
                .expectedFrameRate = static_cast<double>(screenRate)},
               screenFirst, seconds, true, [this](int i) { return draw(width, height, i, 120); });
    writeMovie(media, folder.cameraMovie(),
               {.codec = platform::VideoCodec::h264,
                .width = 1280,
                .height = 720,
                .averageBitRate = 4'000'000,
                .expectedFrameRate = cameraRate},
               screenFirst - cameraLead, seconds + cameraLead, false,
               [](int i) { return draw(1280, 720, i, 90); });
    cobaltreel::EventLog log;
    for (int i = 0; i < 3; ++i) {
        const double t = screenFirst + (i + 0.5) * seconds / 3, x = width * (i + 1) / 4.0;
        log.samples.push_back({t - 0.02, x, height / 2.0, 0});
        log.samples.push_back({t, x, height / 2.0, 1});
        log.samples.push_back({t + 0.1, x, height / 2.0, 0});
    }
    folder.writeEvents(log);
    folder.writeMeta(meta);
    return meta;
}

std::optional<std::uint32_t> counterIn(const platform::PixelBuffer& picture) {
    const auto& plane = picture.plane();
    constexpr int stripWidth = counterCells * counterCellSize;
    // The counter is looked for in the middle of its cells' height.
    const int heightOfAll = static_cast<int>(counterCellSize / stripShare);
    return readCounter(stripWidth, heightOfAll, [&](double x, double y) {
        const int column = std::clamp(static_cast<int>(x * plane.width), 0, plane.width - 1);
        const int row = std::clamp(static_cast<int>(y * plane.height), 0, plane.height - 1);
        return plane.data[static_cast<std::ptrdiff_t>(row) * plane.stride + 4 * column + 1];
    });
}

}  // namespace rig
