// The export half of the preview's model.
#include "Cobaltreel/Export/ExportRenderer.hpp"
#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"

#include <atomic>
#include <cmath>
#include <exception>
#include <stop_token>
#include <utility>

namespace cobaltreel {

/// One run; shared by the main thread and the export's.
struct PreviewModel::ExportRun {
    ExportRenderer renderer;
    std::stop_source stop{};
    std::atomic<double> progress{0};
    std::atomic<bool> isProgressPosted{false};  // at most one message waits for the main thread
};

struct PreviewModel::Outcome {
    std::optional<std::filesystem::path> file;  ///< absent: it failed or was cancelled
    QString problem;                            ///< empty: nothing to tell the user
};

ExportOptions PreviewModel::exportOptions() const {
    ExportOptions options;
    options.trimStart = trimStart_;
    options.trimEnd = trimEnd_;
    options.quality = static_cast<ExportOptions::Quality>(quality_);
    options.autoZoom = autoZoom_;
    options.bubble = bubble_;
    options.cameraStyle = cameraStyle_;
    options.clickRipples = ripples_;
    options.systemAudio = systemAudio_ && meta_.systemAudioEnabled;
    options.chapterNames = {S::chapterStart().toStdString(), S::marker().toStdString()};
    return options;
}

void PreviewModel::exportMovie() {
    if (exporting_) return;
    exportStart_ = services_.clock->now();
    run_ = std::shared_ptr<ExportRun>(
        new ExportRun{.renderer{folder_, meta_, services_.media, services_.vision}});
    change(exportedURL_, {}, &PreviewModel::exportedURLChanged);
    change(progress_, 0.0, &PreviewModel::progressChanged);
    change(exporting_, true, &PreviewModel::exportingChanged);

    ExportRun& shared = *run_;
    shared.renderer.onProgress = [this, &shared](double share) {
        shared.progress = share;
        if (shared.isProgressPosted.exchange(true)) return;
        postWhileAlive([this, &shared] {
            shared.isProgressPosted = false;
            if (exporting_) change(progress_, shared.progress.load(), &PreviewModel::progressChanged);
        });
    };
    exportThread_ = platform::NamedThread("cobaltreel.export", [this, run = run_, options = exportOptions(),
                                                                name = filename_.toStdString()]() mutable {
        Outcome outcome;
        try {
            // Looking for a free name touches the disk.
            options.outputPath = Paths::uniqueOutputURL(name);
            run->renderer.exportMovie(options, run->stop.get_token());
            outcome.file = options.outputPath;
        } catch (const ExportRenderer::Error&) {
            // Cancelled, or nothing to export; the window is as it was.
        } catch (const std::exception& error) {
            outcome.problem = QString::fromUtf8(error.what());
        }
        postWhileAlive([this, outcome = std::move(outcome)] { exportEnded(outcome); });
    });
}

void PreviewModel::exportEnded(const Outcome& outcome) {
    // The result first, so that it is there when the end is announced.
    if (outcome.file) {
        hasExported_ = true;
        change(exportedURL_, outcome.file, &PreviewModel::exportedURLChanged);
    }
    change(exporting_, false, &PreviewModel::exportingChanged);
    if (!outcome.problem.isEmpty())
        services_.alerts->present({S::exportFailed(), outcome.problem, {}}, [](int) {});
}

void PreviewModel::cancel() {
    if (exporting_) run_->stop.request_stop();
}

void PreviewModel::showInFinder() {
    if (!exportedURL_) return;
    const auto file = QString::fromStdString(exportedURL_->string());
    services_.fileBrowser->reveal(*exportedURL_, [alerts = services_.alerts, file](const auto& error) {
        if (error) alerts->present({S::cannotReveal(), file, {}}, [](int) {});
    });
}

QString PreviewModel::exportedTo() const {
    return exportedURL_ ? S::exportedTo().arg(QString::fromStdString(exportedURL_->string())) : QString();
}

QString PreviewModel::timeLeft() const {
    // The first frames wait for decoders and encoders to start and tell little.
    constexpr double minElapsed = 1.5, minProgress = 0.02;
    const double elapsed = services_.clock->now() - exportStart_;
    if (!exporting_ || elapsed < minElapsed || progress_ < minProgress) return {};
    return S::timeLeft(mmss(std::ceil(elapsed * (1 - progress_) / progress_)));
}

}  // namespace cobaltreel
