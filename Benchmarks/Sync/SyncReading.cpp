#include "SyncReading.hpp"

#include "Rig/BeepFinder.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace cobaltreel::benchmarks {

using platform::MediaType;
using platform::SampleBuffer;
using platform::TimeRange;

namespace {

constexpr double around = 0.4;  // seconds searched before and after an event
constexpr double missing = std::numeric_limits<double>::quiet_NaN();

TimeRange spanAround(double time) { return {std::max(0.0, time - around), time + around}; }

/// A place in the picture, as fractions of its width and height.
struct Place {
    double x = 0;
    double y = 0;
};

int brightness(const platform::PixelBuffer& picture, Place place) {
    const platform::Plane& luma = picture.plane(0);
    return luma
        .data[static_cast<int>(place.y * luma.height) * luma.stride + static_cast<int>(place.x * luma.width)];
}

/// Movie time of the first picture near `time` that is bright at a place, after a dark one.
double brightFrom(platform::MediaService& media, const std::filesystem::path& movie, double time,
                  Place place) {
    const auto asset = media.asset(movie);
    const auto tracks = asset->loadTracks(MediaType::video);
    if (tracks.empty()) return missing;
    const auto reader =
        media.makeTrackReader(asset, tracks.front(), spanAround(time), platform::PixelFormat::i420);
    if (!reader->startReading()) return missing;
    constexpr int middle = 128;
    while (const auto sample = reader->copyNextSampleBuffer())
        if (sample->image && brightness(*sample->image, place) > middle)
            return sample->presentationTime.seconds();
    return missing;
}

enum class Channel { left, right, difference };

/// Movie time of the first beep near `time`.
double beepFrom(platform::MediaService& media, const std::filesystem::path& movie, double time,
                Channel channel) {
    const auto asset = media.asset(movie);
    const auto tracks = asset->loadTracks(MediaType::audio);
    if (tracks.empty()) return missing;
    TimeRange span = spanAround(time);
    span.end = std::min(span.end, tracks.front().timeRange.end);
    if (!(span.end > span.start)) return missing;
    platform::Composition composition;
    composition.addMutableTrack(MediaType::audio).insertTimeRange(span, asset, tracks.front(), 0);
    const auto reader = media.makeAudioMixReader(composition);
    if (!reader->startReading()) return missing;
    rig::BeepFinder finder(0.15F);
    while (const auto sample = reader->copyNextSampleBuffer()) {
        auto mono = std::make_shared<platform::AudioBuffer>();
        mono->format = {sample->audio->format.sampleRate, 1, true};
        mono->bytes.resize(sample->audio->frameCount() * sizeof(float));
        const auto stereo = sample->audio->floats();
        for (std::size_t i = 0; i < mono->frameCount(); ++i) {
            const float left = stereo[2 * i];
            const float right = stereo[2 * i + 1];
            mono->floats()[i] = channel == Channel::left    ? left
                                : channel == Channel::right ? right
                                                            : left - right;
        }
        finder.add({sample->presentationTime, nullptr, std::move(mono)});
    }
    return finder.starts().empty() ? missing : span.start + finder.starts().front();
}

double nearest(const std::vector<double>& times, double to) {
    double best = missing;
    for (const double time : times)
        if (std::abs(time - to) < around && !(std::abs(best - to) <= std::abs(time - to))) best = time;
    return best;
}

}  // namespace

Sightings readSession(platform::MediaService& media, const SessionFolder& folder, const SessionMeta& meta,
                      const std::vector<double>& instants) {
    const double screenFirst = meta.screenFirstPTS.value_or(missing);
    const double cameraFirst = meta.cameraFirstPTS.value_or(missing);
    std::vector<double> presses;
    std::int64_t before = 0;
    for (const auto& sample : folder.readEvents().samples) {
        if ((sample.buttons & 1) != 0 && (before & 1) == 0) presses.push_back(sample.t);
        before = sample.buttons;
    }
    Sightings seen;
    for (const double instant : instants) {
        const double onScreen = instant - screenFirst;
        const double onCamera = instant - cameraFirst;
        seen["screen"].push_back(screenFirst +
                                 brightFrom(media, folder.screenMovie(), onScreen, {0.75, 0.25}));
        seen["camera"].push_back(cameraFirst + brightFrom(media, folder.cameraMovie(), onCamera, {0.5, 0.5}));
        seen["mic"].push_back(cameraFirst + beepFrom(media, folder.cameraMovie(), onCamera, Channel::left));
        seen["system"].push_back(screenFirst +
                                 beepFrom(media, folder.screenMovie(), onScreen, Channel::left));
        seen["click"].push_back(nearest(presses, instant));
    }
    return seen;
}

Sightings readExport(platform::MediaService& media, const std::filesystem::path& movie,
                     const SessionMeta& meta, const std::vector<double>& clicks,
                     const std::vector<double>& instants) {
    // The bubble's centre: its margin and its radius from the bottom left corner.
    const double aspect =
        static_cast<double>(meta.captureHeightPx) / static_cast<double>(meta.captureWidthPx);
    const double radius = meta.bubbleSizeFraction / 2;
    const Place bubble{(radius + 0.03) * aspect, 1 - radius - 0.03};
    Sightings seen;
    for (const double instant : instants) {
        const double time = instant - meta.screenFirstPTS.value_or(missing);
        seen["screen"].push_back(brightFrom(media, movie, time, {0.75, 0.25}));
        seen["camera"].push_back(brightFrom(media, movie, time, bubble));
        // The microphone is on both sides, the system's sound on the left alone.
        seen["mic"].push_back(beepFrom(media, movie, time, Channel::right));
        seen["system"].push_back(beepFrom(media, movie, time, Channel::difference));
        seen["click"].push_back(nearest(clicks, time));
    }
    return seen;
}

}  // namespace cobaltreel::benchmarks
