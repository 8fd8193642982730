#pragma once

#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Fakes/FakeMedia.hpp"
#include "Rig/PlainSession.hpp"
#include "Rig/TemporaryFolder.hpp"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace cobaltreel {

/// A session over scripted movies: 4 × 4 pixels, screen at 60 frames a second, the host clock of the
/// first screen frame at 100 s.
class FakeExport : public testing::Test {
  protected:
    FakeExport() {
        meta.cameraEnabled = false;
        meta.bubbleSizeFraction = 0.24;
        options.trimStart = 0;
        options.trimEnd = 1;
        options.quality = ExportOptions::Quality::full;
        options.autoZoom = options.bubble = options.clickRipples = options.systemAudio = false;
        options.outputPath = temporary.path() / "out.mp4";
        media->movies[folder.screenMovie()] = platform::FakeMovie::withFrames(60, 60);
    }

    /// Runs the export; the writer's record is absent when it failed before there was one.
    std::shared_ptr<platform::WriterRecord> run() {
        ExportRenderer renderer(folder, meta, media, nullptr);
        renderer.onProgress = [this](double share) { progress.push_back(share); };
        renderer.exportMovie(options);
        return media->writers.empty() ? nullptr : media->writers.back();
    }

    static int luma(const platform::SampleBuffer& sample) { return sample.image->plane(0).data[0]; }

    rig::TemporaryFolder temporary;
    SessionFolder folder{temporary.path()};
    SessionMeta meta = rig::plainSession(4, 4, 100);
    ExportOptions options;
    std::shared_ptr<platform::FakeMedia> media = std::make_shared<platform::FakeMedia>();
    std::vector<double> progress;
};

}  // namespace cobaltreel
