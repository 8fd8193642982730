#include "Platform/Media/MovieFixture.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <future>

namespace platform::test {

ConstPixelBufferRef greyPicture(int width, int height, int luma) {
    auto picture = std::make_shared<PixelBuffer>(PixelFormat::i420, width, height);
    for (int i = 0; i < 3; ++i) {
        const Plane& plane = picture->plane(i);
        std::memset(plane.data, i == 0 ? luma : 128,
                    static_cast<std::size_t>(plane.stride) * static_cast<std::size_t>(plane.height));
    }
    return picture;
}

int middleLuma(const PixelBuffer& picture) {
    const Plane& luma = picture.plane(0);
    return luma.data[static_cast<std::ptrdiff_t>(luma.stride) * (luma.height / 2) + luma.width / 2];
}

SampleBuffer soundRun(double time, std::size_t frames, const AudioFormat& format,
                      const std::function<float(std::size_t)>& wave) {
    auto audio = std::make_shared<AudioBuffer>();
    audio->format = format;
    audio->bytes.resize(frames * format.bytesPerFrame());
    const auto channels = static_cast<std::size_t>(format.channels);
    for (std::size_t i = 0; i < frames * channels; ++i) {
        const float value = wave(i / channels);
        if (format.isFloat) {
            audio->floats()[i] = value;
        } else {
            const auto integer = static_cast<std::int16_t>(value * 32767);
            std::memcpy(audio->bytes.data() + 2 * i, &integer, 2);
        }
    }
    return {MediaTime::fromSeconds(time, nanosecondTimescale), nullptr, std::move(audio)};
}

SampleBuffer pictureAt(double time, ConstPixelBufferRef picture) {
    return {MediaTime::fromSeconds(time, nanosecondTimescale), std::move(picture), nullptr};
}

void appendPatiently(AssetWriterInput& input, const SampleBuffer& sample) {
    ASSERT_TRUE(input.waitUntilReady(20)) << "no room in the writer";
    ASSERT_TRUE(input.append(sample));
}

AssetWriter::Status finishAndWait(AssetWriter& writer) {
    std::promise<void> done;
    writer.finishWriting([&done] { done.set_value(); });
    auto finished = done.get_future();
    if (finished.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
        ADD_FAILURE() << "finishing never ends";
    return writer.status();
}

std::vector<double> evenTimes(std::size_t count, double perSecond) {
    std::vector<double> times;
    for (std::size_t i = 0; i < count; ++i) times.push_back(static_cast<double>(i) / perSecond);
    return times;
}

std::vector<double> onsets(const std::vector<float>& sound) {
    std::vector<double> found;
    double lastLoud = -1;
    for (std::size_t i = 0; i < sound.size(); ++i) {
        if (std::abs(sound[i]) < 0.33F) continue;
        const double time = static_cast<double>(i) / 48000;
        if (time - lastLoud > 0.2 || found.empty()) found.push_back(time);
        lastLoud = time;
    }
    return found;
}

std::string outputOf(const std::string& command) {
    std::FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    std::string text;
    std::array<char, 512> chunk{};
    while (pipe && std::fgets(chunk.data(), chunk.size(), pipe)) text += chunk.data();
    if (pipe) ::pclose(pipe);
    return text;
}

OpenMovie MovieTest::begin(const std::filesystem::path& path, FileType type,
                           const std::optional<VideoSettings>& video,
                           const std::optional<AudioSettings>& audio, double sessionStart) {
    OpenMovie movie{media->makeWriter(path, type)};
    if (video) movie.video = &movie.writer->addVideoInput(*video);
    if (audio) movie.audio = &movie.writer->addAudioInput(*audio);
    EXPECT_TRUE(movie.writer->startWriting());
    movie.writer->startSession(MediaTime::fromSeconds(sessionStart, nanosecondTimescale));
    return movie;
}

void MovieTest::writePictures(const std::filesystem::path& path, FileType type, VideoSettings settings,
                              const std::vector<double>& times, double sessionStart) {
    const auto movie = begin(path, type, settings, {}, sessionStart);
    for (std::size_t i = 0; i < times.size(); ++i)
        appendPatiently(*movie.video,
                        pictureAt(times[i], greyPicture(settings.width, settings.height, expectedLuma(i))));
    ASSERT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed)
        << (movie.writer->error() ? movie.writer->error()->description() : "");
}

void MovieTest::writeSound(const std::filesystem::path& path, FileType type, std::size_t frames,
                           const std::function<float(std::size_t)>& wave, int channels) {
    constexpr std::size_t run = 480;
    const auto movie = begin(path, type, {}, AudioSettings{48000, channels, 128000, false});
    for (std::size_t first = 0; first < frames; first += run)
        appendPatiently(*movie.audio,
                        soundRun(static_cast<double>(first) / 48000, std::min(run, frames - first),
                                 {48000, channels, true}, [&](std::size_t i) { return wave(first + i); }));
    ASSERT_EQ(finishAndWait(*movie.writer), AssetWriter::Status::completed);
}

std::vector<ReadFrame> MovieTest::readFrames(const std::filesystem::path& path, TimeRange range,
                                             PixelFormat format) {
    const auto asset = media->asset(path);
    const auto reader =
        media->makeTrackReader(asset, asset->loadTracks(MediaType::video).at(0), range, format);
    EXPECT_TRUE(reader->startReading());
    std::vector<ReadFrame> frames;
    while (const auto sample = reader->copyNextSampleBuffer())
        frames.push_back({sample->presentationTime.seconds(), middleLuma(*sample->image),
                          sample->image->width(), sample->image->height()});
    EXPECT_EQ(reader->status(), AssetReader::Status::completed)
        << (reader->error() ? reader->error()->description() : "");
    return frames;
}

ConstPixelBufferRef MovieTest::firstPicture(const std::filesystem::path& path, PixelFormat format) {
    const auto asset = media->asset(path);
    const auto reader =
        media->makeTrackReader(asset, asset->loadTracks(MediaType::video).at(0), {0, 1}, format);
    EXPECT_TRUE(reader->startReading());
    const auto sample = reader->copyNextSampleBuffer();
    EXPECT_TRUE(sample) << path << " has no picture";
    return sample ? sample->image : nullptr;
}

Composition MovieTest::composed(const std::filesystem::path& path, MediaType type, TimeRange span,
                                double at) {
    const auto asset = media->asset(path);
    Composition composition;
    composition.addMutableTrack(type).insertTimeRange(span, asset, asset->loadTracks(type).at(0), at);
    return composition;
}

std::vector<float> MovieTest::readMix(const Composition& composition) {
    const auto reader = media->makeAudioMixReader(composition);
    EXPECT_TRUE(reader->startReading());
    std::vector<float> all;
    while (const auto sample = reader->copyNextSampleBuffer()) {
        EXPECT_EQ(sample->presentationTime, (MediaTime{static_cast<std::int64_t>(all.size() / 2), 48000}));
        all.insert(all.end(), sample->audio->floats().begin(), sample->audio->floats().end());
    }
    EXPECT_EQ(reader->status(), AssetReader::Status::completed);
    return all;
}

std::vector<float> MovieTest::readSound(const std::filesystem::path& path, double seconds) {
    const auto both = readMix(composed(path, MediaType::audio, {0, seconds}));
    std::vector<float> left;
    for (std::size_t i = 0; i < both.size(); i += 2) left.push_back(both[i]);
    return left;
}

}  // namespace platform::test
