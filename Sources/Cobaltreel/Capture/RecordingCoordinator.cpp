#include "Cobaltreel/Capture/RecordingCoordinator.hpp"

#include "Cobaltreel/Capture/CaptureTarget.hpp"
#include "Cobaltreel/Capture/ContentChoice.hpp"
#include "Cobaltreel/Capture/DeviceNotice.hpp"
#include "Cobaltreel/Capture/LivePreview.hpp"
#include "Cobaltreel/Capture/MicrophoneMeter.hpp"
#include "Cobaltreel/Capture/RecordingEngine.hpp"
#include "Cobaltreel/Capture/RecordingFiles.hpp"
#include "Cobaltreel/Capture/SourceLists.hpp"
#include "Cobaltreel/Capture/StartConditions.hpp"
#include "Cobaltreel/Support/ApplicationIdentity.hpp"
#include "Cobaltreel/Support/MarkerText.hpp"
#include "Cobaltreel/Support/Strings.hpp"

#include <utility>

namespace cobaltreel {

using platform::MediaType;
using platform::PlatformError;

namespace {

constexpr double tickInterval = 1.0;  // seconds
constexpr std::int64_t secondsBetweenDiskChecks = 5;

QCoro::Task<void> stopDevices(std::shared_ptr<RecordingEngine> engine) { co_await engine->cameraMic.stop(); }

}  // namespace

RecordingCoordinator::RecordingCoordinator(RecordingServices services, QObject* parent)
    : RecordingChoices(services.defaults, parent),
      engine_(std::make_shared<RecordingEngine>(std::move(services))),
      preview_(std::make_unique<LivePreview>(engine_, *this)),
      meter_(std::make_unique<MicrophoneMeter>(
          engine_, [this] { return preview_->isActive(); },
          [this](float level) { assign(micLevel_, level, &RecordingCoordinator::micLevelChanged); })),
      lists_(std::make_unique<SourceLists>(engine_, *this)) {
    engine_->cameraMic.onDeviceEvent =
        lifetime_.guard([this](const platform::CaptureEvent& event) { onDeviceEvent(event); });
    engine_->screen.onError = lifetime_.guard([this](const PlatformError& error) { streamFailed(error); });
}

RecordingCoordinator::~RecordingCoordinator() {
    // Coroutines that wait for the countdown or a change of phase resume, and see that this is gone.
    abandonCountdown();
    for (const auto& changed : std::exchange(awaitingChange_, {})) changed(phase_);
}

void RecordingCoordinator::onDeviceEvent(const platform::CaptureEvent& event) {
    if (phase_ >= Phase::beginning) absences_.note(event, engine_->services.clock->now());
    Q_EMIT deviceMessage(noticeOf(event), QString::fromStdString(event.message),
                         QString::fromStdString(event.device.uniqueID));
}

bool RecordingCoordinator::previewActive() const { return preview_->isActive(); }
const ScreenRecorder& RecordingCoordinator::screen() const { return engine_->screen; }
const CameraMicRecorder& RecordingCoordinator::cameraMic() const { return engine_->cameraMic; }

bool RecordingCoordinator::devicesKnown() const { return lists_->devicesKnown(); }
bool RecordingCoordinator::mediaServerMissing() const { return lists_->mediaServerMissing(); }
int RecordingCoordinator::markerCount() const { return engine_->keeper.markerCount(); }
QCoro::Task<void> RecordingCoordinator::refreshContent() { return lists_->refreshContent(); }
void RecordingCoordinator::refreshDevices() { lists_->refreshDevices(); }

bool RecordingCoordinator::recordsOwnWindows() const {
    return mode() == CaptureMode::display && !engine_->services.screenCapture->traits().excludesWindows;
}

RecordingCoordinator::State RecordingCoordinator::stateOf(Phase phase) {
    if (phase == Phase::idle) return State::idle;
    return phase < Phase::recording ? State::countdown : State::recording;
}

void RecordingCoordinator::setPhase(Phase phase) {
    const bool isSeen = stateOf(phase) != state();
    if (isSeen) Q_EMIT willChange();
    phase_ = phase;
    if (isSeen) engine_->setQuiet(state() != State::idle);
    if (isSeen) Q_EMIT stateChanged();
    for (const auto& changed : std::exchange(awaitingChange_, {})) changed(phase);
}

void RecordingCoordinator::toggle() {
    if (phase_ == Phase::idle)
        start();
    else if (phase_ == Phase::recording)
        stopRecording();
}

RecordingCoordinator::Marked RecordingCoordinator::mark(const QString& text) {
    if (phase_ == Phase::stopping) return Marked::ending;
    if (phase_ != Phase::recording) return Marked::notRecording;
    Marker marker{engine_->services.clock->now(), MarkerText::cleaned(text).toStdString()};
    return engine_->keeper.mark(std::move(marker)) ? Marked::marked : Marked::tooMany;
}

QCoro::Task<bool> RecordingCoordinator::ensureAuthorized(bool needCamera) {
    return StartConditions::authorize(engine_, needCamera);
}

QCoro::Task<void> RecordingCoordinator::start() {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    const auto attempt = ++attempt_;
    const std::function<bool()> isOver = [this, alive, attempt] { return !alive || attempt_ != attempt; };
    endReason_.clear();
    endedByFailure_ = false;
    setPhase(Phase::asking);

    const auto start = co_await StartConditions::check(engine, *this, minFreeAtStart, isOver);
    if (isOver()) co_return;
    if (!start.areMet) {
        setPhase(Phase::idle);
        co_return;
    }
    if (start.grant) ContentChoice::select(*this, engine->services.screenCapture->shareableContent());

    setPhase(Phase::counting);
    const bool counted = co_await AwaitAnswer<bool>(*engine->services.mainLoop, [&](auto ended) {
        countdownEnded_ = std::move(ended);
        const auto end = lifetime_.guard([this](bool done) {
            if (const auto callback = std::exchange(countdownEnded_, nullptr)) callback(done);
        });
        engine->services.countdown->run([end] { end(false); }, [end] { end(true); });
    });
    if (isOver()) co_return;
    if (counted)
        co_await beginCapture();
    else
        setPhase(Phase::idle);
}

QCoro::Task<void> RecordingCoordinator::beginCapture() {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    std::optional<SessionFolder> folder;
    bool atCamera = false;
    std::exception_ptr failure;
    setPhase(Phase::beginning);
    absences_.clear();
    try {
        platform::ShareableContent content;
        std::optional<PlatformError> soundless;
        co_await engine->offMainThread([&] {
            content = engine->services.screenCapture->shareableContent();
            soundless = engine->services.capture->unavailable();
        });
        if (!alive) co_return;
        if (soundless && systemAudioEnabled())
            Q_EMIT deviceMessage(S::systemAudioUnavailable(),
                                 QString::fromStdString(soundless->description()),
                                 QStringLiteral("system audio"));
        auto chosen =
            CaptureTarget::choose(*this, content, engine->services.desktop->screens(), bundleIdentifier);
        if (!chosen) {
            setPhase(Phase::idle);
            co_return;
        }
        if (!preview_->isActive()) preview_->start();
        if (recordsOwnWindows()) engine->services.bubble->hide();

        SessionMeta& meta = chosen->meta;
        meta.cameraEnabled = engine->cameraMic.wantCamera();
        co_await engine->offMainThread([&, now = engine->services.now()] {
            engine->files = std::make_shared<RecordingFiles>(now, meta);
            folder = engine->files->folder();
        });
        if (!alive) co_return;
        session_ = folder;
        meta_ = meta;

        atCamera = true;
        co_await engine->cameraMic.beginWriting(folder->cameraMovie());
        atCamera = false;
        if (!alive) co_return;
        co_await engine->screen.start(chosen->target, folder->screenMovie(), meta.systemAudioEnabled);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!alive) co_return;
    if (failure) {
        co_await captureFailed(folder, failure, atCamera);
        co_return;
    }
    engine->mouse.start(meta_->mode, meta_->windowID);
    engine->keeper.start(engine->files, *meta_);
    startedAt_ = engine->services.clock->now();
    assign(elapsed_, 0.0, &RecordingCoordinator::elapsedChanged);
    timer_ = engine->services.mainLoop->scheduleRepeating(tickInterval, [this] { tick(); });
    setPhase(Phase::recording);
}

/// Leaves nothing of a recording that could not begin. What came before it, the folder of an earlier
/// recording above all, is not touched.
QCoro::Task<void> RecordingCoordinator::captureFailed(std::optional<SessionFolder> folder,
                                                      std::exception_ptr failure, bool atCamera) {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    if (!atCamera) {
        co_await engine->screen.stop();
        co_await engine->cameraMic.stop();
        if (alive) endPreview();
    }
    if (folder) co_await engine->offMainThread([&] { folder->remove(); });
    engine->files.reset();
    if (!alive) co_return;
    session_.reset();
    meta_.reset();
    setPhase(Phase::idle);
    const QString message = atCamera ? S::cameraBusy() : S::recordingFailed();
    const Alert alert = warning(message, QString::fromStdString(descriptionOf(failure)));
    co_await engine->answerTo(alert);
}

QCoro::Task<void> RecordingCoordinator::tick() {
    if (phase_ != Phase::recording) co_return;
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    const double elapsed = engine->services.clock->now() - startedAt_;
    assign(elapsed_, elapsed, &RecordingCoordinator::elapsedChanged);
    if (elapsed >= engine->services.longestRecording) {
        co_await endByItself(S::stoppedTimeLimit());
        co_return;
    }
    looksAtRoom_ = looksAtRoom_ || static_cast<std::int64_t>(elapsed) % secondsBetweenDiskChecks == 0;
    if (std::exchange(looking_, true)) co_return;  // a disk that does not answer is not asked twice

    const auto folder = session_->dir;
    bool isFull = false;
    DiskState disk;
    do {
        const bool looksAtRoom = std::exchange(looksAtRoom_, false);
        disk = co_await engine->lookAtDisk(folder);
        isFull = looksAtRoom && disk.freeBytes <= minFreeWhileRecording;
        if (!alive) co_return;
    } while (looksAtRoom_ && !disk.isFolderGone && !isFull);
    looking_ = looksAtRoom_ = false;
    if (phase_ != Phase::recording) co_return;
    // A folder that somebody has removed has no room either, which is not what happened to it.
    if (isFull && !disk.isFolderGone)
        co_await endByItself(S::stoppedDiskFull());
    else if (disk.isFolderGone || engine->writingError())
        co_await endByItself({});  // the stop reports what cannot be written
}

QCoro::Task<void> RecordingCoordinator::endByItself(QString reason) {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    endReason_ = reason.toStdString();
    co_await stopRecording();
    if (alive && !reason.isEmpty()) co_await engine->answerTo(warning(reason));
}

QCoro::Task<void> RecordingCoordinator::streamFailed(PlatformError error) {
    // What a stream says that is being stopped is of no interest any more.
    if (phase_ != Phase::recording) co_return;
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    const auto attempt = attempt_;
    endReason_ = error.description();
    endedByFailure_ = error.code() != platform::contentVanished && error.code() != platform::sharingEnded;
    // The take ends with its picture, whenever the user reads about it.
    pictureEndedAt_ = engine->services.clock->now();
    timer_.reset();
    co_await engine->cameraMic.stop();
    co_await engine->keeper.stop();
    if (!alive || attempt_ != attempt || phase_ != Phase::recording) co_return;
    endPreview();
    if (error.code() == platform::sharingEnded) {
        // The user's own way of stopping, where the desktop offers one.
        co_await stopRecording();
        co_await engine->answerTo(warning(S::sharingEnded()));
        co_return;
    }
    co_await engine->answerTo(warning(S::recordingFailed()));
    if (alive && attempt_ == attempt) co_await stopRecording();
}

QCoro::Task<void> RecordingCoordinator::stopRecording() {
    if (phase_ != Phase::recording) co_return;
    setPhase(Phase::stopping);
    timer_.reset();
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    const auto folder = session_;
    const auto pictureEndedAt = std::exchange(pictureEndedAt_, std::nullopt);
    auto meta = meta_;

    co_await engine->screen.stop();
    co_await engine->cameraMic.stop();
    if (alive) endPreview();
    const auto error = co_await engine->completeTake(*folder, *meta, pictureEndedAt);
    if (!alive) co_return;
    meta_ = meta;
    if (error && endReason_.empty()) endReason_ = error->description();
    endedByFailure_ = endedByFailure_ || error;
    if (meta && folder && !quitting_)
        openPreview(*folder, *meta, absences_.since(meta->screenFirstPTS.value_or(0)));
    setPhase(Phase::idle);
    if (error && !quitting_)
        co_await engine->answerTo(
            warning(S::recordingFailed(), QString::fromStdString(error->description())));
}

QCoro::Task<void> RecordingCoordinator::finishBeforeQuit() {
    const auto alive = lifetime_.watch();
    const auto engine = engine_;
    quitting_ = true;
    if (phase_ == Phase::asking || phase_ == Phase::counting) abandonStart();
    co_await stopRecording();
    // A recording that is just beginning, or being stopped already.
    while (alive && phase_ != Phase::idle) {
        co_await untilPhaseChanges();
        if (alive) co_await stopRecording();
    }
    co_await engine->offMainThread([] {});
    if (alive) quitting_ = false;
}

QCoro::Task<void> RecordingCoordinator::untilIdle() {
    const auto alive = lifetime_.watch();
    while (alive && phase_ != Phase::idle) co_await untilPhaseChanges();
}

QCoro::Task<void> RecordingCoordinator::untilPhaseChanges() {
    const auto engine = engine_;
    co_await AwaitAnswer<Phase>(*engine->services.mainLoop,
                                [this](auto changed) { awaitingChange_.push_back(std::move(changed)); });
}

void RecordingCoordinator::abandonStart() {
    ++attempt_;
    abandonCountdown();
    setPhase(Phase::idle);
}

void RecordingCoordinator::abandonCountdown() {
    const auto ended = std::exchange(countdownEnded_, nullptr);
    if (!ended) return;
    engine_->services.countdown->finish();
    ended(false);
}

void RecordingCoordinator::startCameraPreview() {
    if (phase_ == Phase::idle && !preview_->start()) return stopCameraPreview();
    // A recording keeps its devices, so the meter shows their level.
    meter_->start();
}

void RecordingCoordinator::stopCameraPreview() {
    if (phase_ != Phase::idle) return;
    meter_->stop();
    if (!preview_->isActive()) return;
    stopDevices(engine_);
    endPreview();
}

void RecordingCoordinator::endPreview() {
    preview_->end();
    assign(micLevel_, 0.0F, &RecordingCoordinator::micLevelChanged);
}

void RecordingCoordinator::updateBubble() {
    if (state() != State::recording) preview_->updateBubble();
}

void RecordingCoordinator::openSettings() { engine_->services.windows->openSettings(); }

void RecordingCoordinator::openPreview(const SessionFolder& folder, const SessionMeta& meta,
                                       std::vector<DeviceAbsence> absences) {
    engine_->services.windows->openPreview(
        folder, meta, std::move(absences),
        lifetime_.guard([this, folder](bool hasExported) { previewClosed(folder, hasExported); }));
}

QCoro::Task<void> RecordingCoordinator::previewClosed(SessionFolder folder, bool hasExported) {
    const auto engine = engine_;
    // By then another recording may be the current one.
    if (session_ && session_->dir == folder.dir) {
        session_.reset();
        meta_.reset();
    }
    if (hasExported) co_await engine->offMainThread([&] { folder.remove(); });
}

}  // namespace cobaltreel
