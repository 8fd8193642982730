#include "Cobaltreel/Shell/OrphanSessions.hpp"
#include "Cobaltreel/Support/EventJournal.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Media/FFmpeg/FFmpegMediaService.hpp"
#include "Rig/MovieMaker.hpp"

#include <QDateTime>
#include <QFileInfo>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;
using testing::UnorderedElementsAre;

class OrphanSessionsTest : public TemporaryHome {
  protected:
    OrphanSessionsTest() { fs::create_directories(root_); }

    /// A recording that could be exported.
    fs::path recording(const std::string& name) {
        fs::create_directories(root_ / name);
        SessionFolder{root_ / name}.writeMeta(complete());
        std::ofstream(root_ / name / "screen.mov") << "movie";
        return root_ / name;
    }
    static SessionMeta complete() {
        SessionMeta meta;
        meta.screenFirstPTS = 10;
        meta.recordingEndHostTime = 20;
        meta.captureWidthPx = 1280;
        meta.captureHeightPx = 720;
        return meta;
    }
    /// The name of the recording that is offered; empty for none.
    std::string offered() {
        const auto orphan = OrphanSessions::takeUnprompted(root_, defaults_, *media_);
        return orphan ? orphan->folder.dir.filename().string() : "";
    }
    /// A movie of grey pictures, or of silence, from a host-clock time in tenths of a second on, that was
    /// never finished.
    void writeMovie(const fs::path& file, bool pictures, std::int64_t from, int seconds) {
        const platform::VideoSettings video{.width = 64, .height = 48};
        const platform::AudioSettings audio{.expectsMediaDataInRealTime = true};
        rig::MovieMaker movie(*media_, file, pictures ? std::optional(video) : std::nullopt,
                              pictures ? std::nullopt : std::optional(audio), static_cast<double>(from) / 10);
        const auto picture = std::make_shared<platform::PixelBuffer>(platform::PixelFormat::i420, 64, 48);
        const auto sound = std::make_shared<platform::AudioBuffer>();
        sound->bytes.resize(4800 * sound->format.bytesPerFrame());
        for (int i = 0; i < seconds * 10; ++i)
            pictures ? movie.add(i / 10.0, picture) : movie.add(i / 10.0, sound);
        movie.flushUntil(seconds - 0.2);
    }
    /// Returns once what is made is younger than what was made before.
    void letTimePass() const {
        const auto birth = [this] {
            const fs::path probe = home / "probe";
            fs::remove(probe);
            std::ofstream(probe).flush();
            return QFileInfo(QString::fromStdString(probe.string())).birthTime();
        };
        const QDateTime before = birth();
        ASSERT_TRUE(before.isValid()) << "this file system does not tell creation times";
        while (birth() <= before) std::this_thread::yield();
    }

    const fs::path root_ = home / "sessions";
    platform::InMemoryUserDefaults defaults_;
    const std::shared_ptr<platform::MediaService> media_ = platform::makeFFmpegMediaService();
    const std::string key_ = "promptedOrphanSessions";
};

TEST_F(OrphanSessionsTest, TheYoungestIsOfferedOnceAndAllThatWereThereAreNeverOfferedAgain) {
    recording("b");
    letTimePass();
    recording("c");  // the youngest, though not the last by name
    letTimePass();
    recording("a");
    fs::remove_all(root_ / "a");
    EXPECT_EQ(offered(), "c");
    EXPECT_THAT(defaults_.arrays[key_], UnorderedElementsAre("b", "c"));
    EXPECT_EQ(offered(), "");
    EXPECT_TRUE(fs::exists(root_ / "b" / "screen.mov") && fs::exists(root_ / "c" / "screen.mov"));

    letTimePass();
    recording("d");
    defaults_.arrays[key_].push_back("long gone");
    EXPECT_EQ(offered(), "d");
    EXPECT_THAT(defaults_.arrays[key_], UnorderedElementsAre("b", "c", "d", "long gone"));
}

TEST_F(OrphanSessionsTest, WhatIsSurelyOursAndHoldsNothingIsRemovedAndAllElseStays) {
    const auto folder = [&](const std::string& name, const std::function<void(SessionMeta&)>& change) {
        recording(name);
        SessionMeta meta = complete();
        change(meta);
        SessionFolder{root_ / name}.writeMeta(meta);
    };
    const auto cutOff = [](SessionMeta& meta) { meta.recordingEndHostTime.reset(); };
    folder("no end", cutOff);
    folder("no picture", [](SessionMeta& meta) { meta.screenFirstPTS.reset(); });
    fs::remove(recording("no movie") / "screen.mov");
    fs::remove(recording("no document") / "session.json");
    std::ofstream(recording("damaged") / "session.json") << "{";
    std::ofstream(recording(".hidden") / "session.json") << "[]";
    folder("given up", cutOff);
    std::ofstream(root_ / "given up" / "events.journal").flush();

    folder("being recorded", cutOff);
    const auto recorder = platform::HeldFile::make(root_ / "being recorded" / "events.journal");
    fs::remove(recording("pipe") / "session.json");
    ASSERT_EQ(mkfifo((root_ / "pipe" / "session.json").c_str(), 0600), 0);
    folder("with notes", cutOff);
    std::ofstream(root_ / "with notes" / "notes.txt") << "mine";
    folder("elsewhere", cutOff);
    fs::remove(root_ / "elsewhere" / "screen.mov");
    fs::create_symlink("/media/unplugged/screen.mov", root_ / "elsewhere" / "screen.mov");
    folder("large", cutOff);
    fs::resize_file(root_ / "large" / "screen.mov", 1'000'000);

    EXPECT_EQ(offered(), "");
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(root_)) left.push_back(entry.path().filename());
    EXPECT_THAT(left, UnorderedElementsAre("being recorded", "pipe", "with notes", "elsewhere", "large"));
    EXPECT_TRUE(defaults_.arrays.empty()) << "nobody was asked about anything";
}

TEST_F(OrphanSessionsTest, ARecordingThatWasCutOffIsMadeWholeAndOffered) {
    struct Case {
        std::string name;
        std::function<void(SessionMeta&)> change;
        double end;  // host time
        bool hasPointer = true;
    };
    const std::vector<Case> cases{
        {"times", [](SessionMeta&) {}, 14.0},  // the still page at the end is in the document alone
        {"older", [](SessionMeta& meta) { meta.recordingEndHostTime = 11.5; }, 13.1},
        {"no end", [](SessionMeta& meta) { meta.recordingEndHostTime.reset(); }, 13.1},
        {"no times",
         [](SessionMeta& meta) {
             meta.recordingEndHostTime.reset();
             meta.screenFirstPTS.reset();
         },
         13.1},
        // Killed in its first moment: what the movies hold is all there is.
        {"no documents",
         [](SessionMeta& meta) {
             meta.recordingEndHostTime.reset();
             meta.screenFirstPTS.reset();
             meta.cameraFirstPTS.reset();
         },
         13.1, false},
    };
    for (const Case& c : cases) {
        const fs::path dir = root_ / c.name;
        fs::create_directories(dir);
        const SessionFolder folder{dir};
        // Two seconds of pictures from 10 on, three of sound from 10.1 on.
        writeMovie(folder.screenMovie(), true, 100, 2);
        writeMovie(folder.cameraMovie(), false, 101, 3);
        SessionMeta meta = complete();
        meta.cameraFirstPTS = 10.1;
        meta.recordingEndHostTime = 14;
        c.change(meta);
        folder.writeMeta(meta);
        EventLog events;
        if (c.hasPointer) events.samples = {{10, 1, 2, 0}, {10.5, 1, 2, 1}};
        platform::HeldFile::make(folder.journalFile()).append(EventJournal::line(events));

        EXPECT_EQ(offered(), c.name);
        const SessionMeta whole = folder.readMeta();
        // `writeMovie` leaves off with up to 0.2 s still in the encoder.
        EXPECT_NEAR(whole.recordingEndHostTime.value_or(0), c.end, 0.25) << c.name;
        EXPECT_DOUBLE_EQ(whole.screenFirstPTS.value_or(0), 10);
        EXPECT_EQ(whole.cameraFirstPTS, 10.1);
        EXPECT_EQ(folder.readEvents(), events);
        EXPECT_FALSE(fs::exists(folder.journalFile()));
        fs::remove_all(dir);
    }
}

TEST_F(OrphanSessionsTest, ARecordingThatCannotBeAsItSaysIsNeitherOfferedNorRemoved) {
    for (const auto& change : std::initializer_list<std::function<void(SessionMeta&)>>{
             [](SessionMeta& meta) { meta.recordingEndHostTime = 1e300; },
             [](SessionMeta& meta) { meta.captureWidthPx = -4; }}) {
        SessionMeta meta = complete();
        change(meta);
        const fs::path dir = recording("absurd");
        SessionFolder{dir}.writeMeta(meta);
        EXPECT_EQ(offered(), "");
        EXPECT_TRUE(fs::exists(dir / "screen.mov"));
        EXPECT_TRUE(defaults_.arrays.empty());
    }
}

TEST_F(OrphanSessionsTest, LinksAreNotFollowedAndFilesAreLeftAlone) {
    const fs::path precious = home / "precious";
    fs::create_directories(precious);
    std::ofstream(precious / "thesis") << "years of work";
    fs::create_directory_symlink(precious, root_ / "link");
    std::ofstream(root_ / "file") << "text";
    fs::create_directories(root_ / "broken");
    fs::create_directory_symlink(precious, root_ / "broken" / "inside");
    fs::create_symlink(root_ / "nowhere", root_ / "dangling");
    EXPECT_EQ(offered(), "");
    EXPECT_TRUE(fs::exists(precious / "thesis"));
    EXPECT_TRUE(fs::is_symlink(root_ / "link") && fs::is_symlink(root_ / "dangling"));
    EXPECT_TRUE(fs::exists(root_ / "file"));
    EXPECT_TRUE(fs::exists(root_ / "broken")) << "a folder that is not ours";
    for (const fs::path& root : {home / "none", root_ / "file"})
        EXPECT_FALSE(OrphanSessions::takeUnprompted(root, defaults_, *media_));
}

}  // namespace
}  // namespace cobaltreel
