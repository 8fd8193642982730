// What is left of a movie whose writing was cut off.
#include "Platform/Media/MovieFixture.hpp"

#include <fstream>
#include <random>

#include <sys/stat.h>

namespace platform::test {
namespace {

namespace fs = std::filesystem;

class BrokenOffTest : public MovieTest {
  protected:
    /// Writes pictures of ten a second, one whole fragment each half second, and returns the file's length
    /// after each of these.
    std::vector<std::uintmax_t> writeHalves(const fs::path& path, int halves) {
        const auto movie = begin(path, FileType::quickTimeMovie, smallHevc, {}, 100);
        std::vector<std::uintmax_t> lengths;
        for (std::size_t i = 0; i < static_cast<std::size_t>(halves) * 5; ++i) {
            const double time = 100 + static_cast<double>(i) / 10;
            appendPatiently(*movie.video, pictureAt(time, greyPicture(64, 64, expectedLuma(i))));
            if (i % 5 != 4) continue;
            std::optional<MediaTime> end;
            while (!end || end->seconds() < time - 0.001) end = movie.writer->flush();
            EXPECT_LE(end->seconds(), time + 0.2);
            lengths.push_back(fs::file_size(path));
        }
        movie.writer->cancelWriting();
        return lengths;
    }
};

TEST_F(BrokenOffTest, HoldsWhateverWasFlushedAndIsForItsUserAlone) {
    const auto lengths = writeHalves(file("a.mov"), 4);
    for (std::size_t half = 0; half < lengths.size(); ++half) {
        const fs::path part = file("part.mov");
        fs::copy_file(file("a.mov"), part, fs::copy_options::overwrite_existing);
        fs::resize_file(part, lengths[half]);
        EXPECT_EQ(readFrames(part, {0, 100}).size(), (half + 1) * 5);
    }
    struct stat found {};
    ASSERT_EQ(stat(file("a.mov").c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
}

TEST_F(BrokenOffTest, OpensUpToItsLastWholeFragmentWhereverItBreaks) {
    const auto lengths = writeHalves(file("a.mov"), 3);
    const auto seed = std::random_device()();
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::uintmax_t> place(lengths[1] + 1, lengths[2] - 1);
    for (int i = 0; i < 60; ++i) {
        const std::uintmax_t length =
            i < 20 ? lengths[1] + 1 + static_cast<std::uintmax_t>(i) : place(random);
        const fs::path part = file("part, of it.mov");
        fs::copy_file(file("a.mov"), part, fs::copy_options::overwrite_existing);
        fs::resize_file(part, length);
        EXPECT_GE(readFrames(part, {0, 100}).size(), 10U)
            << length << " of " << lengths[2] << ", seed " << seed;
    }
}

TEST_F(BrokenOffTest, ATrackThatNothingCameOfYetIsEmptyAndOneThatBeganLateIsNot) {
    for (const bool picturesCome : {false, true}) {
        const auto [writer, video, audio] = begin(file("late.mov"), FileType::quickTimeMovie, smallHevc,
                                                  AudioSettings{48000, 2, 128000, true});
        for (int i = 0; i < 50; ++i) {
            appendPatiently(*audio, soundRun(i / 10.0, 4800, {}, [](std::size_t) { return 0.0F; }));
            if (picturesCome && i >= 40)
                appendPatiently(*video, pictureAt(i / 10.0, greyPicture(64, 64, 90)));
        }
        if (picturesCome) {
            finishAndWait(*writer);
        } else {
            std::optional<MediaTime> end;
            while (!end || end->seconds() < 4) end = writer->flush();
            writer->cancelWriting();
        }
        const auto movie = media->asset(file("late.mov"));
        EXPECT_GT(movie->loadTracks(MediaType::audio)[0].timeRange.duration(), 4);
        EXPECT_EQ(movie->loadTracks(MediaType::video)[0].timeRange.duration() > 0, picturesCome);
    }
}

TEST_F(BrokenOffTest, IsNoMovieBeforeItsFirstFragment) {
    for (const std::uintmax_t length : {0, 1, 8, 20}) {
        writeHalves(file("a.mov"), 1);
        fs::resize_file(file("a.mov"), length);
        EXPECT_THROW(media->asset(file("a.mov"))->loadTracks(MediaType::video), NotAMovie) << length;
    }
    try {
        media->asset(file("absent.mov"))->loadTracks(MediaType::video);
        ADD_FAILURE() << "an absent file was opened";
    } catch (const NotAMovie&) {
        ADD_FAILURE() << "an absent file may come back";
    } catch (const PlatformError&) {
    }
}

TEST_F(BrokenOffTest, SoundThatChangesItsKindInMidStreamGoesOn) {
    const auto make = [&](const std::string& name, int channels, int rate) {
        const std::string made =
            outputOf("ffmpeg -v error -y -f lavfi -i sine=f=500:r=" + std::to_string(rate) +
                     ":d=0.5 -c:a ac3 -ac " + std::to_string(channels) + " " + file(name).string());
        EXPECT_EQ(made, "");
    };
    make("wide.ac3", 6, 48000);
    make("mono.ac3", 1, 48000);
    make("slow.ac3", 2, 44100);
    std::ofstream all(file("all.ac3"), std::ios::binary);
    for (const char* part : {"wide.ac3", "mono.ac3", "slow.ac3", "wide.ac3"})
        all << std::ifstream(file(part), std::ios::binary).rdbuf();
    all.close();
    for (const std::string ending : {"mov", "mkv", "ts"}) {
        const fs::path movie = file("changing." + ending);
        ASSERT_EQ(
            outputOf("ffmpeg -v error -y -i " + file("all.ac3").string() + " -c copy " + movie.string()), "");
        const auto sound = readSound(movie, 2);
        ASSERT_GT(sound.size(), 90000U) << ending;
        for (const std::size_t at : {12000U, 36000U, 84000U}) {
            float loudest = 0;
            for (std::size_t i = at; i < at + 480; ++i) loudest = std::max(loudest, std::abs(sound[i]));
            EXPECT_GT(loudest, 0.01F) << ending << " at " << at;
        }
    }
}

}  // namespace
}  // namespace platform::test
