#pragma once

#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace platform::test {

/// A picture of one grey level (0…255 of limited-range luma).
ConstPixelBufferRef greyPicture(int width, int height, int luma);
/// The luma in the middle of an i420 picture.
int middleLuma(const PixelBuffer& picture);

/// A run of sound whose frame i has the value `wave(i)` on every channel.
SampleBuffer soundRun(double time, std::size_t frames, const AudioFormat& format,
                      const std::function<float(std::size_t)>& wave);
SampleBuffer pictureAt(double time, ConstPixelBufferRef picture);

/// Appends, waiting for room; fails the test when the writer never takes it.
void appendPatiently(AssetWriterInput& input, const SampleBuffer& sample);
/// Finishes and waits for the end; the status by then.
AssetWriter::Status finishAndWait(AssetWriter& writer);

/// So many times at a rate, from 0 on.
std::vector<double> evenTimes(std::size_t count, double perSecond);
/// Seconds at which sound louder than a third begins after a fifth of a second without.
std::vector<double> onsets(const std::vector<float>& sound);

/// A writer whose session has begun, and its inputs.
struct OpenMovie {
    std::unique_ptr<AssetWriter> writer;
    AssetWriterInput* video = nullptr;  ///< null where no settings were given
    AssetWriterInput* audio = nullptr;
};

struct ReadFrame {
    double time;
    int luma;
    int width;
    int height;
};

/// What a command printed on both of its outputs.
std::string outputOf(const std::string& command);

/// A test with a folder of its own, removed afterwards, and the real media service.
class MovieTest : public testing::Test {
  protected:
    std::filesystem::path file(const std::string& name) const { return folder_ / name; }

    OpenMovie begin(const std::filesystem::path& path, FileType type,
                    const std::optional<VideoSettings>& video, const std::optional<AudioSettings>& audio = {},
                    double sessionStart = 0);
    /// Writes grey pictures (luma 20 + 10·(i mod 20)) at the times and closes the movie.
    void writePictures(const std::filesystem::path& path, FileType type, VideoSettings settings,
                       const std::vector<double>& times, double sessionStart = 0);
    /// Writes mono float sound, `wave(i)` for frame i from time 0 on.
    void writeSound(const std::filesystem::path& path, FileType type, std::size_t frames,
                    const std::function<float(std::size_t)>& wave, int channels = 1);

    std::vector<ReadFrame> readFrames(const std::filesystem::path& path, TimeRange range,
                                      PixelFormat format = PixelFormat::i420);
    /// The first picture of a file; null, and the test fails, when there is none.
    ConstPixelBufferRef firstPicture(const std::filesystem::path& path, PixelFormat format);
    /// A composition of one track of a file, its span placed at `at`.
    Composition composed(const std::filesystem::path& path, MediaType type, TimeRange span, double at = 0);
    /// Both channels of a mix, one after the other for each frame.
    std::vector<float> readMix(const Composition& composition);
    /// The left channel of a file's first audio track through the mixer, from the movie's time 0.
    std::vector<float> readSound(const std::filesystem::path& path, double seconds);

    std::shared_ptr<MediaService> media = makeFFmpegMediaService();

  private:
    rig::TemporaryFolder folder_;
};

inline constexpr VideoSettings smallH264{VideoCodec::h264, 64, 48, 400'000, 30, true, false};
inline constexpr VideoSettings smallHevc{VideoCodec::hevc, 64, 64, 400'000, 60, false, true};

/// Grey level of picture i as MovieTest writes it.
inline int expectedLuma(std::size_t i) { return 20 + 10 * static_cast<int>(i % 20); }

}  // namespace platform::test
