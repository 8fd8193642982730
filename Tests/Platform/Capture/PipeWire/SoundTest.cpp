#include "MediaHarness.hpp"
#include "Rig/BeepFinder.hpp"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <thread>

namespace {

using platform::CaptureEvent;
using platform::SampleBuffer;
using rig::startDevice;

/// A hole in the sound longer than this is a gap. On a busy machine the rig's own clock, which no hardware
/// drives, slips by some milliseconds.
constexpr double gapLength = 0.1;

class SoundTest : public rig::MediaTest {
  protected:
    /// Instants at which the devices beep, the first one far enough away for them to have started.
    std::vector<double> instantsFromNow(double first, int count) const {
        std::vector<double> instants;
        for (int i = 0; i < count; ++i) instants.push_back(now() + first + 0.3 * i);
        return instants;
    }
    static std::string listed(const std::vector<double>& instants) {
        std::string list;
        for (const double instant : instants) list += (list.empty() ? "" : ",") + std::to_string(instant);
        return list;
    }
    /// What is wrong with a sound that should have beeps at those instants and so many gaps; empty when
    /// nothing is.
    static std::string faults(const std::vector<SampleBuffer>& sounds, const std::vector<double>& instants,
                              std::optional<int> expectedGaps) {
        std::ostringstream faults;
        rig::BeepFinder finder;
        for (const auto& sound : sounds) finder.add(sound);
        const auto& starts = finder.starts();
        if (starts.size() != instants.size()) faults << starts.size() << " beeps; ";
        for (std::size_t i = 0; i < std::min(starts.size(), instants.size()); ++i)
            if (std::abs(starts[i] - instants[i]) > 0.02)
                faults << "a beep off by " << starts[i] - instants[i] << " s; ";
        for (const double pitch : finder.pitches())
            if (std::abs(pitch - 1000) > 30) faults << "a beep of " << pitch << " Hz; ";
        int gaps = 0;
        for (std::size_t i = 1; i < sounds.size(); ++i) {
            const double end = sounds[i - 1].presentationTime.seconds() + sounds[i - 1].audio->duration();
            const double next = sounds[i].presentationTime.seconds();
            EXPECT_GT(next, end - 0.01) << "runs of sound overlap";
            if (next - end > gapLength) ++gaps;
        }
        if (expectedGaps && gaps != *expectedGaps) faults << gaps << " gaps; ";
        return faults.str();
    }
};

TEST_F(SoundTest, DeliversOneFormatOfSoundWhateverTheMicrophoneOffers) {
    struct Case {
        int rate;
        int channels;
    };
    for (const auto& [rate, channels] : std::initializer_list<Case>{
             {48000, 1}, {44100, 1}, {44100, 2}, {48000, 6}, {16000, 1}, {96000, 2}}) {
        SCOPED_TRACE(std::to_string(rate) + " Hz, " + std::to_string(channels) + " channels");
        expectNoFaults([&, rate = rate, channels = channels]() -> std::string {
            collector.clear();
            EXPECT_TRUE(isListed("rig.microphone", false));
            const auto instants = instantsFromNow(0.6, 2);
            const auto device = startDevice(
                "RigTone", {"--microphone", "--rate", std::to_string(rate), "--channels",
                            std::to_string(channels), "--loudness", "0.7", "--at", listed(instants)});
            configure({microphone()});
            if (!collector.waitForSoundUntil(instants.back() + 0.2)) return "no sound";
            session->stopRunning();
            const auto sounds = collector.sounds();
            for (const auto& sound : sounds)
                EXPECT_EQ(sound.audio->format, (platform::AudioFormat{48000, 1, true}));
            return faults(sounds, instants, 0);
        });
    }
}

TEST_F(SoundTest, AMicrophoneThatComesBackWithAnotherRateLeavesAGapAndKeepsTime) {
    expectNoFaults([&]() -> std::string {
        collector.clear();
        EXPECT_TRUE(isListed("rig.microphone", false));
        const auto first = instantsFromNow(0.6, 1);
        auto device = startDevice("RigTone", {"--microphone", "--at", listed(first)});
        configure({microphone()});
        if (!collector.waitForSoundUntil(first.back() + 0.2)) return "no sound";
        device.reset();
        if (!collector.waitForEvents(CaptureEvent::Kind::lost)) return "not lost";
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const auto second = instantsFromNow(0.8, 1);
        device = startDevice("RigTone", {"--microphone", "--rate", "16000", "--at", listed(second)});
        if (!collector.waitForEvents(CaptureEvent::Kind::returned)) return "not back";
        if (!collector.waitForSoundUntil(second.back() + 0.2)) return "no sound after the return";
        session->stopRunning();
        return faults(collector.sounds(), {first[0], second[0]}, 1);
    });
}

TEST_F(SoundTest, TellsOfDevicesThatComeAndGo) {
    std::atomic<int> changes{0};
    service.setDevicesChangedHandler([&] { ++changes; });
    EXPECT_EQ(service.devices(), platform::CaptureDevices{}) << "a speaker's own sound is no microphone";
    EXPECT_FALSE(service.unavailable());
    auto device = startDevice("RigTone", {"--microphone"});
    ASSERT_TRUE(isListed("rig.microphone"));
    EXPECT_THAT(service.devices().microphones, testing::ElementsAre(microphone()));
    EXPECT_TRUE(platform::eventually([&] { return service.devices().defaultMicrophone == microphone(); }));
    EXPECT_GE(changes, 1);
    device.reset();
    ASSERT_TRUE(isListed("rig.microphone", false));
    EXPECT_FALSE(service.devices().defaultMicrophone);
    service.setDevicesChangedHandler({});

    session->beginConfiguration();
    EXPECT_THROW(session->addInput(microphone()), platform::PlatformError);
    session->commitConfiguration();
}

class SystemAudioTest : public SoundTest {
  protected:
    void start() {
        source->start(queue, [this](const SampleBuffer& sample) { heard.take(sample); });
    }
    rig::Collector heard;
    std::unique_ptr<platform::SystemAudioSource> source = service.makeSystemAudio();
};

TEST_F(SystemAudioTest, RecordsOtherProgramsButNotThisOne) {
    ASSERT_FALSE(service.unavailable());
    expectNoFaults([&]() -> std::string {
        heard.clear();
        start();
        const auto instants = instantsFromNow(1.0, 3);
        const auto player =
            startDevice("RigTone", {"--speaker", "--channels", "2", "--at", listed(instants)});
        // This one would beep in between.
        std::vector<double> between;
        for (const double instant : instants) between.push_back(instant + 0.15);
        const auto own = startDevice("RigTone", {"--speaker", "--name", "rig.own", "--process-id",
                                                 std::to_string(getpid()), "--at", listed(between)});
        const bool isHeard = heard.waitForSoundUntil(instants.back() + 0.3);
        source->stop();
        const auto sounds = heard.sounds();
        for (const auto& sound : sounds)
            EXPECT_EQ(sound.audio->format, (platform::AudioFormat{48000, 2, true}));
        source->stop();
        EXPECT_EQ(heard.sounds().size(), sounds.size());
        return isHeard ? faults(sounds, instants, 0) : "no sound";
    });
}

TEST_F(SystemAudioTest, FollowsTheDefaultSpeakerAndMonoPrograms) {
    ASSERT_FALSE(service.unavailable());
    const auto makeDefault = [](const std::string& speaker) {
        EXPECT_EQ(std::system(("pw-metadata 0 default.configured.audio.sink '{\"name\":\"" + speaker +
                               "\"}' Spa:String:JSON >/dev/null 2>&1")
                                  .c_str()),
                  0);
    };
    expectNoFaults([&]() -> std::string {
        heard.clear();
        start();
        const auto instants = instantsFromNow(1.0, 6);
        const auto player =
            startDevice("RigTone", {"--speaker", "--rate", "44100", "--at", listed(instants)});
        bool isHeard = heard.waitForSoundUntil(instants[2]);
        makeDefault("rig.headphones");
        isHeard = isHeard && heard.waitForSoundUntil(instants.back() + 0.2);
        const bool isMoved =
            std::system("pw-link -l | grep -A1 '^rig.headphones:playback_FL' | grep -q rig.player") == 0;
        makeDefault("rig.speaker");
        source->stop();
        if (!isMoved) return "the session manager has not moved the program to the other speaker";
        return isHeard ? faults(heard.sounds(), instants, std::nullopt) : "no sound";
    });
}

TEST_F(SystemAudioTest, MixesAndKeepsGaps) {
    ASSERT_FALSE(service.unavailable());
    expectNoFaults([&]() -> std::string {
        heard.clear();
        start();
        const auto first = instantsFromNow(0.8, 1);
        auto player = startDevice("RigTone", {"--speaker", "--at", listed(first)});
        bool isHeard = heard.waitForSoundUntil(first.back() + 0.2);
        player.reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const auto second = instantsFromNow(0.8, 1);
        player = startDevice("RigTone", {"--speaker", "--at", listed(second), "--loudness", "0.3"});
        const auto other = startDevice(
            "RigTone", {"--speaker", "--name", "rig.second", "--at", listed(second), "--loudness", "0.3"});
        isHeard = isHeard && heard.waitForSoundUntil(second.back() + 0.2);
        source->stop();
        if (!isHeard) return "no sound";
        float loudest = 0;
        for (const auto& sound : heard.sounds())
            if (sound.presentationTime.seconds() > second[0] - 0.05)
                for (const float value : sound.audio->floats()) loudest = std::max(loudest, std::abs(value));
        if (std::abs(loudest - 0.6F) > 0.05F) return "a mix as loud as " + std::to_string(loudest);
        return faults(heard.sounds(), {first[0], second[0]}, std::nullopt);
    });
}

TEST_F(SystemAudioTest, AllThatAMediaServerServesComesBackWithIt) {
    rig::Collector heardLate;
    const auto late = service.makeSystemAudio();
    std::vector<std::unique_ptr<rig::ChildProcess>> devices;
    const auto plugIn = [&] {
        devices.push_back(startDevice("RigTone", {"--speaker", "--channels", "2"}));
        devices.push_back(startDevice("RigCamera", {}));
        devices.push_back(startDevice("RigTone", {"--microphone"}));
    };
    const auto allCome = [&] {
        return collector.waitForPictures(5) && collector.waitForSound(5) && heard.waitForSound(5);
    };
    plugIn();
    start();
    configure({camera(), microphone()});
    ASSERT_TRUE(allCome());

    kill(std::atoi(std::getenv("COBALTREEL_RIG_MEDIA")), SIGUSR1);
    ASSERT_TRUE(collector.waitForEvents(CaptureEvent::Kind::lost, 2));
    const double lost = now();
    late->start(queue, [&](const SampleBuffer& sample) { heardLate.take(sample); });
    devices.clear();
    ASSERT_TRUE(platform::eventually([&] { return !service.unavailable(); }));
    const double pluggedIn = now();
    plugIn();
    ASSERT_TRUE(collector.waitForEvents(CaptureEvent::Kind::returned, 2));
    EXPECT_TRUE(allCome());
    EXPECT_TRUE(heardLate.waitForSound(1)) << "asked for while the server was away";

    session->stopRunning();
    source->stop();
    late->stop();
    std::vector<double> times;
    for (const auto& picture : collector.pictures()) times.push_back(picture.time);
    for (auto* sounds : {&collector, &heard})
        for (const auto& sound : sounds->sounds()) times.push_back(sound.presentationTime.seconds());
    for (const double time : times)
        EXPECT_FALSE(time > lost && time < pluggedIn - 0.05) << "a time of the gap";
    EXPECT_THAT(collector.events(), testing::SizeIs(4));
}

}  // namespace
