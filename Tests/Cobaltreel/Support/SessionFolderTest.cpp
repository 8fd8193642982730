#include "Cobaltreel/Support/EventJournal.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Cobaltreel/Support/TemporaryHome.hpp"
#include "CobaltreelCore/DocumentError.hpp"
#include "Platform/Foundation/DurableFiles.hpp"
#include "Platform/Foundation/PlatformError.hpp"

#include <csignal>
#include <fstream>
#include <iterator>
#include <limits>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobaltreel {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

struct SessionFolderTest : TemporaryHome {
    SessionFolderTest() { fs::create_directories(folder.dir); }

    static std::string contents(const fs::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    int fileCount() const { return static_cast<int>(std::distance(fs::directory_iterator(folder.dir), {})); }

    SessionFolder folder{home / "הקלטה 1"};
    SessionMeta meta = SessionMeta::makeDefault();
};

/// For its lifetime no file of this process can grow beyond `bytes`, as on a full disk.
class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) {
        before_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &limit_);
        const rlimit small{bytes, limit_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &limit_);
        std::signal(SIGXFSZ, before_);
    }

  private:
    rlimit limit_{};
    void (*before_)(int) = nullptr;
};

TEST_F(SessionFolderTest, AFailedWriteLeavesTheOldDocumentAlone) {
    folder.writeMeta(meta);
    const std::string before = contents(folder.metaFile());
    const auto expectUntouched = [&] {
        EXPECT_EQ(contents(folder.metaFile()), before);
        EXPECT_EQ(fileCount(), 1);
    };

    SessionMeta spoilt = meta;
    spoilt.scaleFactor = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(folder.writeMeta(spoilt), DocumentError);
    expectUntouched();

    SessionMeta other = meta;
    other.displayID = 77;
    for (const rlim_t bytes : {0, 1, 100, 200}) {
        const FullDisk full(bytes);
        EXPECT_THROW(folder.writeMeta(other), platform::PlatformError) << bytes;
    }
    expectUntouched();

    EventLog large;
    large.samples.resize(10'000);
    {
        const FullDisk full(64 * 1024);
        try {
            folder.writeEvents(large);
            ADD_FAILURE() << "no error";
        } catch (const platform::PlatformError& error) {
            EXPECT_THAT(error.what(), HasSubstr(folder.eventsFile().string()));
        }
    }
    expectUntouched();
}

TEST_F(SessionFolderTest, TheJournalIsReadToItsLastWholePieceUntilThereIsADocument) {
    EventLog log;
    log.samples = {{1, 2, 3, 1}, {2, 2, 3, 0}};
    log.windowFrames = {{1, 5, 6, 7, 8}};
    EventLog more;
    more.samples = {{3, 4, 5, 0}};
    {
        auto journal = platform::HeldFile::make(folder.journalFile());
        journal.append(EventJournal::line(log));
        journal.append(EventJournal::line(more));
        journal.append("{\"version\":1,\"samples\":[{\"t\":4,");
        const auto before = fs::file_size(folder.journalFile());
        const FullDisk full(before + 100);
        EXPECT_THROW(journal.append(std::string(5000, ' ')), platform::PlatformError);
        EXPECT_EQ(fs::file_size(folder.journalFile()), before);
        EXPECT_THROW(platform::HeldFile::make(folder.journalFile()), platform::PlatformError) << "it is held";
    }
    EventLog whole = log;
    whole.samples.push_back(more.samples.front());
    EXPECT_EQ(folder.readEvents(), whole);
    folder.writeEvents(more);
    EXPECT_EQ(folder.readEvents(), more);
}

TEST_F(SessionFolderTest, RemovingTakesOurFilesAndFollowsNoLink) {
    folder.writeMeta(meta);
    const fs::path precious = home / "precious.mov";
    std::ofstream(precious) << "years of work";
    fs::create_symlink(precious, folder.screenMovie());
    EXPECT_FALSE(folder.holdsOnlyOurFiles());
    std::ofstream(folder.dir / "notes.txt") << "mine";
    EXPECT_FALSE(folder.remove());
    EXPECT_EQ(fileCount(), 1);
    fs::remove(folder.dir / "notes.txt");
    EXPECT_TRUE(folder.remove());
    EXPECT_TRUE(fs::exists(precious) && !fs::exists(folder.dir));
}

TEST_F(SessionFolderTest, WhatIsNoDocumentIsNotRead) {
    const auto expectRefused = [&](const char* what) {
        SCOPED_TRACE(what);
        try {
            folder.readMeta();
            ADD_FAILURE() << "no error";
        } catch (const platform::PlatformError& error) {
            EXPECT_THAT(error.what(), HasSubstr(folder.metaFile().string()));
        }
        fs::remove(folder.metaFile());
    };
    expectRefused("absent");
    fs::create_directory(folder.metaFile());
    expectRefused("a folder");
    mkfifo(folder.metaFile().c_str(), 0600);
    expectRefused("a pipe");
    std::ofstream(folder.metaFile()) << "{";
    fs::resize_file(folder.metaFile(), 2'000'000);
    expectRefused("huge");
}

}  // namespace
}  // namespace cobaltreel
