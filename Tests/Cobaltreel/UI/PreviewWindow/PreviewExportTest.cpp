#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewHarness.hpp"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

namespace cobaltreel {
namespace {

using platform::PlatformError;

class PreviewExportTest : public PreviewTest {
  protected:
    PreviewExportTest() { L::current = Language::en; }
    ~PreviewExportTest() override { L::current = Language::he; }
};

TEST_F(PreviewExportTest, TheChoicesReachTheMovie) {
    PreviewModel& preview = open();
    EXPECT_TRUE(preview.filename().startsWith("Tutorial 2")) << preview.filename().toStdString();
    preview.setTrimStart(2);
    preview.setTrimEnd(4);
    preview.setQuality(PreviewModel::Full);
    preview.setFilename("  My:Demo/Take ");
    std::vector<double> shares;
    QObject::connect(&preview, &PreviewModel::progressChanged, [&] { shares.push_back(preview.progress()); });
    preview.exportMovie();
    EXPECT_TRUE(preview.exporting());
    preview.exportMovie();  // nothing while one runs
    settle([&] { return !preview.exporting(); });

    EXPECT_EQ(preview.exportedURL(), exported("My-Demo-Take.mp4"));
    EXPECT_TRUE(preview.hasExported());
    ASSERT_EQ(media->writers.size(), 1U);
    EXPECT_EQ(media->writers[0]->video.size(), 60U);
    EXPECT_EQ(media->writers[0]->videoSettings->averageBitRate, 20'000'000);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_EQ(preview.progress(), 1);
    EXPECT_TRUE(alerts->alerts.empty());

    // Both sounds were mixed; a second export has one, and a name of its own.
    EXPECT_EQ(media->mixedCompositions.back().tracks().size(), 2U);
    preview.setSystemAudio(false);
    std::ofstream(exported("My-Demo-Take.mp4")) << "x";
    preview.exportMovie();
    EXPECT_FALSE(preview.isExported());
    EXPECT_TRUE(preview.hasExported());
    settle([&] { return !preview.exporting(); });
    EXPECT_EQ(media->mixedCompositions.back().tracks().size(), 1U);
    EXPECT_EQ(preview.exportedURL(), exported("My-Demo-Take-2.mp4"));
}

TEST_F(PreviewExportTest, WhatIsHeardInThePreviewIsHeardInTheMovieAtTheSameMoment) {
    // By file: which time of it is heard at time 0 of the timeline, and from when on anything of it.
    struct Placed {
        double at0, from;
    };
    const auto placed = [](const platform::Composition& composition) {
        std::map<std::filesystem::path, Placed> found;
        for (const auto& track : composition.tracks()) {
            if (track.type() != platform::MediaType::audio) continue;
            for (const auto& part : track.segments())
                found[part.asset->path()] = {part.source.start - part.start, part.start};
        }
        return found;
    };
    for (const double cameraFirst : {99.5, 100.0, 100.3, 103.0}) {
        for (const double trimStart : {0.0, 1.7, 2.9}) {
            SCOPED_TRACE(testing::Message() << "camera at " << cameraFirst << ", kept from " << trimStart);
            meta.cameraFirstPTS = cameraFirst;
            players->players.clear();
            PreviewModel& preview = open();
            const auto heard = placed(std::get<platform::Composition>(mainPlayer().items.back()));
            preview.setTrimStart(trimStart);
            preview.setTrimEnd(trimStart + 2);
            runExport();
            const auto mixed = placed(media->mixedCompositions.back());
            for (const auto& [file, sound] : mixed) {
                ASSERT_TRUE(heard.contains(file)) << file;
                EXPECT_NEAR(sound.at0 - trimStart, heard.at(file).at0, 1.0 / 600) << file;
                EXPECT_NEAR(sound.from, std::max(heard.at(file).from - trimStart, 0.0), 1.0 / 600) << file;
            }
            // Only a microphone that begins after the kept span is not in it.
            EXPECT_EQ(mixed.size(), cameraFirst - 100 < trimStart + 2 ? 2U : 1U);
            model.reset();
        }
    }
}

TEST_F(PreviewExportTest, CancellingIsNotAFailure) {
    PreviewModel& preview = open();
    media->writing.createsFile = true;
    {
        Gate gate(*media);
        preview.exportMovie();
        settle([&] { return gate.isReached.load(); });
        preview.cancel();
        gate.open();
        settle([&] { return !preview.exporting(); });
    }
    EXPECT_FALSE(preview.isExported());
    EXPECT_FALSE(preview.hasExported());
    EXPECT_TRUE(alerts->alerts.empty());
    EXPECT_TRUE(std::filesystem::is_empty(home / "Videos" / "Cobaltreel"));

    media->writing = {};
    runExport();
    EXPECT_TRUE(preview.hasExported());
}

TEST_F(PreviewExportTest, AFailureIsSaidOnceAndMayBeRepaired) {
    open();
    media->writing.creationError = PlatformError("Media", 28, "the disk is full");
    runExport();
    ASSERT_EQ(alerts->alerts.size(), 1U);
    EXPECT_EQ(alerts->alerts[0].message, "Export failed. The recording is saved — you can try again");
    EXPECT_EQ(alerts->alerts[0].informativeText, "the disk is full");
    EXPECT_FALSE(model->hasExported());

    // The pipeline's own errors are not told.
    media->writing = {};
    media->movies[folder.screenMovie()].readerStarts = false;
    runExport();
    EXPECT_FALSE(model->isExported());
    EXPECT_EQ(alerts->alerts.size(), 1U);

    media->movies[folder.screenMovie()].readerStarts = true;
    runExport();
    EXPECT_TRUE(model->isExported());
}

TEST_F(PreviewExportTest, TheRemainingTimeIsToldOnceItIsKnown) {
    PreviewModel& preview = open();
    Gate gate(*media, 60);
    preview.exportMovie();
    settle([&] { return preview.progress() > 0.1; });
    EXPECT_EQ(preview.timeLeft(), "") << "after no time nothing is known";
    time->stall(30);
    EXPECT_TRUE(preview.timeLeft().endsWith(" left")) << preview.timeLeft().toStdString();
    gate.open();
    settle([&] { return !preview.exporting(); });
    EXPECT_EQ(preview.timeLeft(), "");
}

TEST_F(PreviewExportTest, DestroyedInTheMiddleOfAnExport) {
    Gate gate(*media);
    media->writing.createsFile = true;
    open().exportMovie();
    settle([&] { return gate.isReached.load(); });
    std::thread releaser([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        gate.open();
    });
    model.reset();
    releaser.join();
    time->drain();
    for (const auto& entry : std::filesystem::directory_iterator(home / "Videos" / "Cobaltreel"))
        EXPECT_EQ(entry.path().extension(), ".mp4") << "half a movie stays";
}

TEST_F(PreviewExportTest, AFileThatCannotBeShownIsNamed) {
    open().showInFinder();
    EXPECT_TRUE(fileBrowser->revealed.empty()) << "there is none yet";
    model->setFilename("Take");
    runExport();
    model->showInFinder();
    EXPECT_EQ(fileBrowser->revealed, std::vector{exported("Take.mp4")});
    EXPECT_TRUE(alerts->alerts.empty());
    fileBrowser->error = PlatformError("FileBrowser", 1, "no file manager");
    model->showInFinder();
    ASSERT_EQ(alerts->alerts.size(), 1U);
    EXPECT_EQ(alerts->alerts[0].informativeText.toStdString(), exported("Take.mp4").string());
}

}  // namespace
}  // namespace cobaltreel
