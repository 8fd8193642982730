#include "Platform/Media/FFmpeg/EncoderTrial.hpp"
#include "Platform/Media/MovieFixture.hpp"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform::test {
namespace {

using testing::HasSubstr;
using Status = AssetWriter::Status;

bool installed(const std::string& command) {
    return std::system(("command -v " + command + " > /dev/null").c_str()) == 0;
}

float beep(double time) { return static_cast<float>(0.8 * std::sin(2 * 3.14159265358979 * 1000 * time)); }

class Writing : public MovieTest {
  protected:
    /// Another program reads the file without a warning, as what it was written as.
    void expectNoWarningOf(const std::filesystem::path& path, FileType type) {
        EXPECT_EQ(outputOf("ffmpeg -v warning -i " + path.string() + " -f null -"), "");
        const std::string shown = outputOf(
            "ffprobe -v warning -show_entries stream=codec_type,codec_tag_string,profile,color_space,"
            "color_range,sample_rate -of default " +
            path.string());
        std::vector<std::string> expected{"codec_type=video", "codec_type=audio", "color_space=bt709",
                                          "color_range=tv", "sample_rate=48000"};
        if (type == FileType::quickTimeMovie) expected.push_back("codec_tag_string=hvc1");
        if (type == FileType::mpeg4)
            expected.insert(expected.end(), {"codec_tag_string=avc1", "profile=High"});
        for (const std::string& each : expected) EXPECT_THAT(shown, HasSubstr(each));
        if (type != FileType::mpeg4) return;
        std::ifstream stream(path, std::ios::binary);
        std::string head(400, '\0');
        stream.read(head.data(), 400);
        EXPECT_THAT(head, HasSubstr("moov"));  // the index is in front
    }
    /// A movie of grey pictures that turn white for 50 ms a quarter after each second, with beeps at the same
    /// times of the source clock. The sound begins `soundDelay` later than the pictures.
    void writeFlashesAndBeeps(const std::filesystem::path& path, FileType type, bool realTime,
                              double soundDelay, double seconds, double expectedDuration = 0) {
        constexpr double origin = 5000.25;
        VideoSettings settings = realTime ? smallHevc : smallH264;
        settings.expectedFrameRate = 40;
        settings.expectedDuration = expectedDuration;
        AudioSettings sound{48000, 2, 128000, realTime};
        if (type == FileType::webm) {
            settings.codec = VideoCodec::vp9;
            sound.codec = AudioCodec::opus;
        }
        const auto [writer, video, audio] = begin(path, type, settings, sound, origin);
        const ConstPixelBufferRef dark = greyPicture(settings.width, settings.height, 40);
        const ConstPixelBufferRef bright = greyPicture(settings.width, settings.height, 220);
        const auto inFlash = [](double time) {
            const double phase = time - 0.25 - std::floor(time - 0.25 + 1e-9);
            return phase < 0.05 - 1e-9;
        };
        for (int i = 0; i < seconds * 40; ++i) {
            const double time = i / 40.0;
            appendPatiently(*video, pictureAt(origin + time, inFlash(time) ? bright : dark));
            if (time < soundDelay - 1e-9) continue;
            appendPatiently(*audio, soundRun(origin + time, 1200, {48000, 2, true}, [&](std::size_t f) {
                const double at = time + static_cast<double>(f) / 48000;
                return inFlash(at) ? beep(at) : 0.0F;
            }));
        }
        ASSERT_EQ(finishAndWait(*writer), Status::completed);
    }
};

TEST_F(Writing, FlashesAndBeepsStayTogether) {
    struct Case {
        FileType type;
        bool realTime;
        double soundDelay;
    };
    for (const Case& c : {Case{FileType::mpeg4, false, 0}, Case{FileType::quickTimeMovie, true, 0},
                          Case{FileType::mpeg4, false, 0.55}, Case{FileType::quickTimeMovie, true, 0.55},
                          Case{FileType::quickTimeMovie, true, 3.3}, Case{FileType::webm, false, 0},
                          Case{FileType::webm, false, 0.55}}) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(c.type) << " delay " << c.soundDelay);
        const auto path = file("sync.mov");
        writeFlashesAndBeeps(path, c.type, c.realTime, c.soundDelay, 6, c.soundDelay > 0 ? 6 : 0);
        std::vector<double> flashes;
        bool bright = false;
        for (const ReadFrame& frame : readFrames(path, {0, 10})) {
            if (frame.luma > 130 && !bright) flashes.push_back(frame.time);
            bright = frame.luma > 130;
        }
        ASSERT_EQ(flashes.size(), 6U);

        std::vector<double> expected;
        for (const double flash : flashes)
            if (flash >= c.soundDelay) expected.push_back(flash);
        const auto beeps = onsets(readSound(path, 6));
        ASSERT_EQ(beeps.size(), expected.size());
        for (std::size_t i = 0; i < beeps.size(); ++i) EXPECT_NEAR(beeps[i], expected[i], 0.002) << i;

        const double start = media->asset(path)->loadTracks(MediaType::audio).at(0).timeRange.start;
        // Where the file has an edit list the priming of the decoder comes before late sound.
        const double priming = c.type == FileType::mpeg4 && c.soundDelay > 0 ? 1024.0 / 48000 : 0;
        // WebM's times are whole milliseconds, and the packet that primes the decoder is left out.
        const bool isWeb = c.type == FileType::webm;
        const double rounding = isWeb ? 0.001 : 0.0002, leftOut = isWeb ? 0.0135 : 0;
        EXPECT_NEAR(start, c.soundDelay - priming + leftOut, rounding);

        if (!installed("ffmpeg")) continue;
        expectNoWarningOf(path, c.type);
        // The same as another program sees it: its decoder, times by its own clock.
        const std::string log = outputOf("ffmpeg -v error -y -i " + path.string() +
                                         " -map 0:a -af aresample=async=1:first_pts=0 -f f32le -ac 1 " +
                                         file("sound.raw").string());
        EXPECT_EQ(log, "");
        std::ifstream raw(file("sound.raw"), std::ios::binary);
        std::vector<float> sound(std::filesystem::file_size(file("sound.raw")) / 4);
        raw.read(reinterpret_cast<char*>(sound.data()), static_cast<std::streamsize>(sound.size() * 4));
        const auto otherBeeps = onsets(sound);
        ASSERT_EQ(otherBeeps.size(), expected.size());
        for (std::size_t i = 0; i < otherBeeps.size(); ++i)
            EXPECT_NEAR(otherBeeps[i], expected[i], rounding) << i;
    }
}

// Fragments are cut whenever either track has enough, and for every flush.
TEST_F(Writing, PicturesAfterAPauseKeepTheirTimes) {
    for (const bool hasSound : {false, true}) {
        SCOPED_TRACE(hasSound);
        const auto path = file("pauses.mov");
        const auto [writer, video, audio] =
            begin(path, FileType::quickTimeMovie, smallHevc,
                  hasSound ? std::optional(AudioSettings{48000, 2, 128000, true}) : std::nullopt, 70);
        const std::vector<double> times{0, 0.05, 0.3, 2.2, 2.3, 7.9, 7.95, 8.6, 14};
        double heard = 0;
        for (const double time : times) {
            for (; audio && heard < time; heard += 0.1)
                appendPatiently(
                    *audio, soundRun(70 + heard, 4800, {48000, 2, true}, [](std::size_t) { return 0.1F; }));
            appendPatiently(*video,
                            pictureAt(70 + time, greyPicture(64, 64, static_cast<int>(40 + 10 * time))));
            if (time > 1) writer->flush();
        }
        ASSERT_EQ(finishAndWait(*writer), Status::completed);
        const auto frames = readFrames(path, {0, 100});
        ASSERT_EQ(frames.size(), times.size());
        for (std::size_t i = 0; i < times.size(); ++i) EXPECT_NEAR(frames[i].time, times[i], 1e-4) << i;
    }
}

TEST_F(Writing, ASilentMicrophoneNeitherStopsThePicturesNorFillsTheMemory) {
    // The sound dies after a second, or never comes: what was written meanwhile is in the file.
    for (const int soundRuns : {0, 60}) {
        const auto path = file("silent.mov");
        const auto [writer, video, audio] =
            begin(path, FileType::quickTimeMovie, smallHevc, AudioSettings{48000, 1, 64000, true});
        for (int i = 0; i < 600; ++i) {
            appendPatiently(*video,
                            pictureAt(i / 60.0, greyPicture(64, 64, expectedLuma(static_cast<unsigned>(i)))));
            if (i < soundRuns)
                appendPatiently(*audio,
                                soundRun(i / 60.0, 800, {48000, 1, true}, [](std::size_t) { return 0.1F; }));
        }
        const auto written = [&] {
            std::filesystem::copy_file(path, file("copy.mov"),
                                       std::filesystem::copy_options::overwrite_existing);
            return readFrames(file("copy.mov"), {0, 100}).size();
        };
        EXPECT_GT(written(), 450U);
        ASSERT_EQ(finishAndWait(*writer), Status::completed);
        EXPECT_EQ(readFrames(path, {0, 100}).size(), 600U);
    }
}

TEST_F(Writing, InputsRefuseWhatDoesNotFit) {
    auto writer = media->makeWriter(file("a.mp4"), FileType::mpeg4);
    AssetWriterInput& video = writer->addVideoInput(smallH264);
    AssetWriterInput& audio = writer->addAudioInput({});
    const SampleBuffer picture = pictureAt(1, greyPicture(64, 48, 50));
    const SampleBuffer sound = soundRun(1, 10, {}, [](std::size_t) { return 0.0F; });
    EXPECT_EQ(video.pixelBufferPool(), nullptr);
    EXPECT_FALSE(video.append(picture));  // not writing yet
    ASSERT_TRUE(writer->startWriting());
    EXPECT_FALSE(video.append(picture));  // no session yet
    writer->startSession({0, 600});
    EXPECT_FALSE(video.append(pictureAt(1, greyPicture(64, 50, 50))));
    EXPECT_FALSE(video.append(sound));
    EXPECT_FALSE(audio.append(picture));
    EXPECT_FALSE(video.append({}));
    ASSERT_NE(video.pixelBufferPool(), nullptr);
    EXPECT_EQ(audio.pixelBufferPool(), nullptr);
    const auto pooled = video.pixelBufferPool()->createPixelBuffer();
    ASSERT_TRUE(pooled);
    EXPECT_EQ(pooled->format(), PixelFormat::i420);
    EXPECT_EQ(pooled->width(), 64);
    EXPECT_TRUE(video.append(picture));
    EXPECT_TRUE(audio.append(sound));
    video.markAsFinished();
    EXPECT_FALSE(video.append(picture));
    EXPECT_FALSE(video.isReadyForMoreMediaData());
    EXPECT_EQ(finishAndWait(*writer), Status::completed);
    EXPECT_FALSE(audio.append(sound));
}

TEST_F(Writing, TheQueueIsBoundedAndAPoolBufferIsThereForEachPlaceInIt) {
    VideoSettings settings = smallH264;
    settings.width = 1920, settings.height = 1080;
    const auto [writer, video, audio] = begin(file("a.mp4"), FileType::mpeg4, settings, AudioSettings{});
    int refused = 0;
    for (int i = 0; i < 60; ++i) {
        const PixelBufferRef picture = video->pixelBufferPool()->createPixelBuffer();
        ASSERT_TRUE(picture) << i;
        refused += !video->append(pictureAt(i / 30.0, picture));
    }
    EXPECT_GT(refused, 0);
    std::size_t accepted = 0;
    while (accepted < 1000 && audio->append(soundRun(static_cast<double>(accepted), 48000, {},
                                                     [](std::size_t) { return 0.0F; })))
        ++accepted;
    EXPECT_LT(accepted, 1000U);
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), Status::cancelled);
}

TEST_F(Writing, AWriterMayBeCancelledAndDroppedAtAnyMoment) {
    VideoSettings settings = smallH264;
    settings.width = 1280, settings.height = 720;
    for (int pictures = 0; pictures < 24; pictures += 3) {
        auto [writer, video, audio] = begin(file("a.mp4"), FileType::mpeg4, settings, AudioSettings{});
        for (int i = 0; i < pictures; ++i)
            appendPatiently(*video, pictureAt(i / 30.0, greyPicture(1280, 720, 5 * i)));
        if (pictures % 2 == 0) {
            writer->cancelWriting();
            EXPECT_EQ(writer->status(), Status::cancelled);
            EXPECT_FALSE(video->waitUntilReady(10));
            EXPECT_EQ(finishAndWait(*writer), Status::cancelled);
        }
        writer.reset();
        EXPECT_TRUE(std::filesystem::exists(file("a.mp4")));
    }
}

TEST_F(Writing, AMovieWithoutSamplesIsStillFinished) {
    for (const FileType type : {FileType::mpeg4, FileType::quickTimeMovie}) {
        auto writer = media->makeWriter(file("empty.mov"), type);
        writer->addVideoInput(smallH264);
        writer->addAudioInput({});
        ASSERT_TRUE(writer->startWriting());
        EXPECT_EQ(finishAndWait(*writer), Status::completed)
            << (writer->error() ? writer->error()->description() : "");
        for (const MediaType media_ : {MediaType::video, MediaType::audio})
            EXPECT_NO_THROW(media->asset(file("empty.mov"))->loadTracks(media_));
    }
}

TEST_F(Writing, AFileThatCannotBeCreatedIsNamed) {
    for (const FileType type : {FileType::mpeg4, FileType::quickTimeMovie}) {
        try {
            media->makeWriter(file("no/such/folder/a.mp4"), type);
            ADD_FAILURE() << "created";
        } catch (const PlatformError& error) {
            EXPECT_THAT(error.description(), HasSubstr("no/such/folder/a.mp4"));
        }
    }
}

TEST_F(Writing, AFullDiskFailsTheWriterWithoutHanging) {
    // A limit on the size of files stands for the full disk, in a process of its own.
    for (const FileType type : {FileType::quickTimeMovie, FileType::mpeg4}) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{400'000, 400'000};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            auto writer = media->makeWriter(file("full.mov"), type);
            VideoSettings settings = type == FileType::quickTimeMovie ? smallHevc : smallH264;
            settings.averageBitRate = 8'000'000;
            AssetWriterInput& video = writer->addVideoInput(settings);
            AssetWriterInput& audio =
                writer->addAudioInput({48000, 2, 256000, settings.expectsMediaDataInRealTime});
            if (!writer->startWriting()) ::_exit(2);
            writer->startSession({0, 600});
            unsigned noise = 1;
            for (int i = 0; i < 3000 && writer->status() == Status::writing; ++i) {
                auto picture =
                    std::make_shared<PixelBuffer>(PixelFormat::i420, settings.width, settings.height);
                for (int p = 0; p < picture->plane().stride * settings.height; ++p)
                    picture->plane().data[p] =
                        static_cast<std::uint8_t>((noise = noise * 1664525 + 1013904223) >> 24);
                if (video.waitUntilReady(5)) video.append(pictureAt(i / 60.0, picture));
                audio.append(soundRun(i / 60.0, 800, {}, [](std::size_t f) { return beep(f / 48000.0); }));
            }
            const Status status = finishAndWait(*writer);
            const bool refuses =
                !video.append(pictureAt(100, greyPicture(settings.width, settings.height, 9)));
            const bool named =
                writer->error() && writer->error()->description().find("full.mov") != std::string::npos;
            writer.reset();
            ::_exit(status == Status::failed && refuses && named ? 0 : 3);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
        if (type == FileType::quickTimeMovie) {
            EXPECT_GT(readFrames(file("full.mov"), {0, 100}).size(), 0U);
        }
    }
}

TEST(VideoEncoders, FallBackToTheNextAndNameAllThatWasTried) {
    const auto chosen =
        ffmpeg::chooseVideoEncoder(smallH264, true, {"h264_nvenc", "no_such_encoder", "libx264"});
    EXPECT_TRUE(chosen.encoder);
    EXPECT_THAT(chosen.passedOver, HasSubstr("no_such_encoder"));
    try {
        ffmpeg::chooseVideoEncoder(smallH264, true, {"no_such_encoder", "nor_this"});
        ADD_FAILURE() << "opened";
    } catch (const PlatformError& error) {
        EXPECT_THAT(error.description(), testing::AllOf(HasSubstr("no_such_encoder"), HasSubstr("nor_this"),
                                                        HasSubstr("64 × 48")));
    }
    VideoSettings impossible = smallH264;
    impossible.width = -4;
    EXPECT_THROW(ffmpeg::chooseVideoEncoder(impossible, true, {"libx264"}), PlatformError);
}

TEST(VideoEncoders, AreBelievedAfterATrialOnly) {
    // Slow enough for any machine: this is not about time.
    const VideoSettings screen{VideoCodec::hevc, 320, 180, 20'000'000, 2, false, true};
    const VideoSettings exported{VideoCodec::h264, 321, 181, 20'000'000, 2, true, false};
    EXPECT_EQ(ffmpeg::trialOf("libx265", screen), "");
    EXPECT_EQ(ffmpeg::trialOf("libx264", exported), "");
    // One that opens and works, but not well: coarse blocks for lack of bits.
    VideoSettings starved = exported;
    starved.averageBitRate = 10'000;
    EXPECT_THAT(ffmpeg::trialOf("libx264", starved), HasSubstr("come back changed"));
    EXPECT_THAT(ffmpeg::trialOf("no_such_encoder", screen), HasSubstr("no_such_encoder"));
}

}  // namespace
}  // namespace platform::test
