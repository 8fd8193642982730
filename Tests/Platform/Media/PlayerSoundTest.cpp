#include "Platform/Media/MovieFixture.hpp"
#include "Platform/Media/Mpv/SoundStream.hpp"

#include <cmath>
#include <fstream>
#include <numbers>

#include <gmock/gmock.h>

namespace platform::test {
namespace {

using PlayerSound = MovieTest;

std::vector<float> readFloats(const std::filesystem::path& path) {
    std::vector<float> samples(std::filesystem::file_size(path) / sizeof(float));
    std::ifstream(path, std::ios::binary)
        .read(reinterpret_cast<char*>(samples.data()),
              static_cast<std::streamsize>(samples.size() * sizeof(float)));
    return samples;
}

TEST_F(PlayerSound, isTheMixAndBeginsWhereItWasSought) {
    writeSound(
        file("a.mp4"), FileType::mpeg4, 6 * 48000,
        [](std::size_t i) {
            return static_cast<float>(0.5 * std::sin(static_cast<double>(i) * 2 * std::numbers::pi / 480 *
                                                     (1 + static_cast<double>(i / 48000))));
        },
        2);
    const auto asset = media->asset(file("a.mp4"));
    Composition composition;
    composition.addMutableTrack(MediaType::audio)
        .insertTimeRange({0.5, 5.5}, asset, asset->loadTracks(MediaType::audio).at(0), 0.25);
    const auto mix = media->makeAudioMix(composition);
    std::vector<float> expected(static_cast<std::size_t>(mix->frameCount()) * 2);
    mix->read(0, expected);
    ASSERT_EQ(mix->frameCount(), 252'000);

    for (const double start : {0.0, 3.4567}) {
        mpv::SoundStream stream;
        const mpv::HandlePtr handle = mpv::makeHandle();
        stream.registerWith(handle.get());
        stream.serve(7, media->makeAudioMix(composition));
        const std::string address = mpv::SoundStream::address(7), begin = std::to_string(start);
        const auto set = [&](const char* name, const std::string& value) {
            EXPECT_GE(mpv_set_property_string(handle.get(), name, value.c_str()), 0) << name;
        };
        // The library writes the sound to a file as fast as it gets it.
        set("ao", "pcm");
        set("ao-pcm-file", file("out.raw").string());
        set("ao-pcm-waveheader", "no");
        set("audio-format", "float");
        set("start", begin);
        set("keep-open", "no");
        set("pause", "no");
        const char* load[] = {"loadfile", address.c_str(), nullptr};
        ASSERT_GE(mpv_command(handle.get(), load), 0);
        const mpv_event* event = nullptr;
        do event = mpv_wait_event(handle.get(), 20);
        while (event->event_id != MPV_EVENT_END_FILE && event->event_id != MPV_EVENT_NONE);
        ASSERT_EQ(event->event_id, MPV_EVENT_END_FILE);
        EXPECT_EQ(static_cast<const mpv_event_end_file*>(event->data)->reason, MPV_END_FILE_REASON_EOF);

        const auto played = readFloats(file("out.raw"));
        const auto first = static_cast<std::size_t>(std::lround(start * 48000)) * 2;
        ASSERT_GE(played.size(), expected.size() - first);
        // Compared where both have a sample, up to one sample of rounding at the start.
        double worst = 1;
        for (const std::ptrdiff_t shift : {-2, 0, 2}) {
            double difference = 0;
            for (std::size_t i = 2; first + i + 2 < expected.size(); ++i)
                difference = std::max<double>(
                    difference,
                    std::abs(
                        played[i] -
                        expected[static_cast<std::size_t>(static_cast<std::ptrdiff_t>(first + i) + shift)]));
            worst = std::min(worst, difference);
        }
        EXPECT_LT(worst, 0.001) << start;
    }
}

}  // namespace
}  // namespace platform::test
