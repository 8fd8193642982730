#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"

#include "Cobaltreel/Support/Paths.hpp"
#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/PreviewWindow/CutoutPictures.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewComposition.hpp"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <utility>

namespace cobaltreel {

using platform::PlatformError;
using platform::PlayerItem;
using Status = platform::Player::TimeControlStatus;

namespace {

constexpr double shortestRecording = 0.5;
constexpr double shortestTrim = 0.1;
constexpr double syncInterval = 0.5;
constexpr double playingSeekTolerance = 0.03;
/// How often the position is reported, seconds.
constexpr double positionInterval = 0.05;
/// This close to the end counts as the end when playing is asked for, seconds.
constexpr double endRoom = 0.05;

}  // namespace

PreviewModel::PreviewModel(SessionFolder folder, SessionMeta meta, PreviewServices services)
    : folder_(std::move(folder)),
      meta_(std::move(meta)),
      services_(std::move(services)),
      autoZoom_(meta_.autoZoomEnabled),
      bubble_(meta_.cameraEnabled),
      cameraStyle_(meta_.resolvedCameraStyle()),
      systemAudio_(meta_.systemAudioEnabled),
      filename_(Paths::defaultExportName()) {
    const double screenFirst = meta_.screenFirstPTS.value_or(0);
    cameraOffset_ = screenFirst - meta_.cameraFirstPTS.value_or(screenFirst);
    duration_ = std::max(meta_.recordingEndHostTime.value_or(0) - screenFirst, shortestRecording);
    trimEnd_ = duration_;
    makePlayers();
    postWhileAlive([this] { setUpPlayback(); });
}

PreviewModel::~PreviewModel() {
    cancel();
    exportThread_.join();
}

void PreviewModel::postWhileAlive(std::function<void()> work) {
    services_.mainLoop->post(lifetime_.guard(std::move(work)));
}

void PreviewModel::makePlayers() {
    player_ = services_.players->makePlayer();
    if (meta_.cameraEnabled) cameraPlayer_ = services_.players->makePlayer();
    screenPictures_ = std::make_unique<PlayerPictures>(*player_);
    positionObserver_ =
        player_->addPeriodicTimeObserver(positionInterval, [this](double time) { onTimeChanged(time); });
    playingObserver_ = player_->observeTimeControlStatus([this](Status status) {
        change(isPlaying_, status == Status::playing, &PreviewModel::isPlayingChanged);
    });
    failureObserver_ = player_->observeFailure([this](const PlatformError& error) { playbackFailed(error); });
    if (!cameraPlayer_) return;

    cameraPlayer_->setMuted(true);
    cameraPictures_ = std::make_unique<PlayerPictures>(*cameraPlayer_);
    // The recording is then shown without its camera.
    cameraFailureObserver_ = cameraPlayer_->observeFailure([this](const PlatformError&) {
        Q_EMIT willChange();
        const auto gone = std::move(cameraPictures_);
        Q_EMIT cameraPicturesChanged();
    });
    cameraPlayer_->replaceCurrentItem(folder_.cameraMovie());
}

void PreviewModel::setUpPlayback() {
    opening_.async([this, media = services_.media] {
        std::optional<platform::Composition> composition;
        try {
            composition = makePreviewComposition(*media, folder_, cameraOffset_);
        } catch (const std::exception&) {
            // The screen movie alone, then; if that cannot be played either, the player says why.
        }
        postWhileAlive([this, composition = std::move(composition)]() mutable {
            if (composition)
                play(std::move(*composition), true);
            else
                play(folder_.screenMovie(), false);
            startCameraSync();
        });
        std::vector<Marker> markers;
        try {
            markers = folder_.readEvents().markers;
        } catch (const std::exception&) {
            // Without its log a session has none.
        }
        postWhileAlive([this, markers = std::move(markers)] {
            markers_.show(markers, meta_.screenFirstPTS.value_or(0), duration_);
        });
    });
}

void PreviewModel::play(PlayerItem item, bool isWhole) {
    playsWhole_ = isWhole;
    player_->replaceCurrentItem(std::move(item));
    // Where the user has gone while there was no item, or another one.
    if (position_ > 0) player_->seek(position_, 0);
}

void PreviewModel::playbackFailed(const PlatformError& error) {
    // What keeps the composed item from being played may be the microphone's file.
    if (std::exchange(playsWhole_, false)) {
        play(folder_.screenMovie(), false);
        return;
    }
    change(playbackProblem_, QString::fromStdString(error.description()),
           &PreviewModel::playbackProblemChanged);
}

void PreviewModel::startCameraSync() {
    if (!cameraPlayer_) return;
    periodicObserver_ =
        player_->addPeriodicTimeObserver(syncInterval, [this](double time) { resyncBubble(time, false); });
    timeControlObs_ = player_->observeTimeControlStatus([this](Status) {
        resyncBubble(player_->currentTime(), true);
        updateRate();
    });
    if (player_->hasCurrentItem())
        timeJumpToken_ =
            player_->observeTimeJumped([this](double) { resyncBubble(player_->currentTime(), true); });
    resyncBubble(player_->currentTime(), true);
}

void PreviewModel::updateRate() {
    const double rate = player_->timeControlStatus() == Status::paused ? 0 : player_->rate();
    if (cameraPlayer_->rate() != rate) cameraPlayer_->setRate(rate);
}

void PreviewModel::resyncBubble(double mainSeconds, bool force) {
    if (!cameraPlayer_) return;
    const double target = std::max(mainSeconds + cameraOffset_, 0.0);
    updateRate();
    if (!force && std::abs(cameraPlayer_->currentTime() - target) <= bubbleDriftTolerance) return;
    const bool isPaused = player_->timeControlStatus() == Status::paused;
    cameraPlayer_->seek(onTimescale(target), isPaused ? 0 : playingSeekTolerance);
}

void PreviewModel::onTimeChanged(double seconds) {
    const bool reachesEnd =
        player_->timeControlStatus() == Status::playing && position_ <= trimEnd_ && seconds >= trimEnd_;
    change(position_, seconds, &PreviewModel::positionChanged);
    if (!reachesEnd) return;
    pause();
    seekTo(trimEnd_);
}

void PreviewModel::seekTo(double seconds) {
    const double time = std::max(onTimescale(seconds), 0.0);
    player_->seek(time, 0);
    change(position_, time, &PreviewModel::positionChanged);
    // At the same time, not only once the screen has arrived.
    resyncBubble(time, true);
}

void PreviewModel::togglePlay() {
    if (!player_->hasCurrentItem()) return;
    if (player_->timeControlStatus() == Status::playing) {
        pause();
        return;
    }
    const double end =
        std::min(trimEnd_, player_->duration().value_or(std::numeric_limits<double>::infinity()));
    const double now = player_->currentTime();
    if (now < onTimescale(trimStart_) || now >= end - endRoom) seekTo(trimStart_);
    player_->setRate(1);
}

void PreviewModel::pause() { player_->setRate(0); }

void PreviewModel::step(double seconds) {
    pause();
    goTo(player_->currentTime() + seconds);
}

void PreviewModel::goTo(double seconds) {
    if (std::isfinite(seconds)) seekTo(std::clamp(seconds, 0.0, duration_));
}

void PreviewModel::goToMarker(bool forward) {
    if (const auto time = markers_.next(position_, forward)) goTo(*time);
}

std::unique_ptr<PictureSource> PreviewModel::makeCutoutPictures() {
    if (!cameraPlayer_) return nullptr;
    return std::make_unique<CutoutPictures>(*cameraPlayer_, services_.vision, services_.mainLoop);
}

double PreviewModel::trimStartLimit() const { return std::max(trimEnd_ - shortestTrim, shortestTrim); }
double PreviewModel::trimEndLimit() const { return std::min(trimStart_ + shortestTrim, duration_); }

void PreviewModel::setTrimStart(double seconds) {
    if (std::isfinite(seconds) && change(trimStart_, seconds, &PreviewModel::trimStartChanged))
        seekTo(seconds);
}
void PreviewModel::setTrimEnd(double seconds) {
    if (std::isfinite(seconds) && change(trimEnd_, seconds, &PreviewModel::trimEndChanged)) seekTo(seconds);
}
void PreviewModel::setAutoZoom(bool on) { change(autoZoom_, on, &PreviewModel::autoZoomChanged); }
void PreviewModel::setBubble(bool on) { change(bubble_, on, &PreviewModel::bubbleChanged); }
void PreviewModel::setCameraStyle(CameraStyle style) {
    change(cameraStyle_, style, &PreviewModel::cameraStyleChanged);
}
QString PreviewModel::cameraStyleName() const {
    const auto raw = rawValue(cameraStyle_);
    return QString::fromLatin1(raw.data(), static_cast<qsizetype>(raw.size()));
}
void PreviewModel::setCameraStyleName(const QString& raw) {
    if (const auto style = fromRawValue<CameraStyle>(raw.toStdString())) setCameraStyle(*style);
}
void PreviewModel::setRipples(bool on) { change(ripples_, on, &PreviewModel::ripplesChanged); }
void PreviewModel::setSystemAudio(bool on) { change(systemAudio_, on, &PreviewModel::systemAudioChanged); }
void PreviewModel::setQuality(Quality quality) { change(quality_, quality, &PreviewModel::qualityChanged); }
void PreviewModel::setFilename(const QString& name) {
    change(filename_, name, &PreviewModel::filenameChanged);
}

void PreviewModel::setAbsences(std::vector<DeviceAbsence> absences) {
    absences_ = std::move(absences);
    Q_EMIT missingDevicesChanged();
}

QString PreviewModel::missingDevices() const {
    QStringList lines;
    for (const DeviceAbsence& absence : absences_) {
        const QString name = QString::fromStdString(absence.name), from = mmss(absence.from);
        lines.append(absence.until ? S::deviceMissingBetween().arg(name, from, mmss(*absence.until))
                                   : S::deviceMissingSince().arg(name, from));
    }
    return lines.join(QLatin1Char('\n'));
}

QString PreviewModel::mmss(double seconds) {
    // A damaged session may claim any length.
    constexpr double most = 1e15;
    const auto whole = static_cast<qint64>(std::clamp(seconds, -most, most));
    return QString::asprintf("%02lld:%02lld", static_cast<long long>(whole / 60),
                             static_cast<long long>(whole - 60 * (whole / 60)));
}

QString PreviewModel::tenths(double seconds) {
    return QString::asprintf(".%d", static_cast<int>(std::fmod(std::max(seconds, 0.0), 1.0) * 10));
}

}  // namespace cobaltreel
