#pragma once

#include "Cobaltreel/Capture/DeviceAbsences.hpp"
#include "Cobaltreel/Export/ExportOptions.hpp"
#include "Cobaltreel/Support/SessionFolder.hpp"
#include "Cobaltreel/UI/PreviewWindow/PictureSource.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewServices.hpp"
#include "Cobaltreel/UI/PreviewWindow/TimelineMarkers.hpp"
#include "CobaltreelCore/Models.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/SerialQueue.hpp"

#include <QObject>
#include <QString>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// What the preview window shows and does: plays the session with the camera in step, keeps the choices for
/// the export and runs it. `willChange` comes before any published field changes, the field's own signal
/// after it did. Times are seconds on the screen movie's timeline. Main thread.
class PreviewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("handed to the window's view")
    Q_PROPERTY(double duration READ duration CONSTANT FINAL)
    Q_PROPERTY(double trimStart READ trimStart WRITE setTrimStart NOTIFY trimStartChanged FINAL)
    Q_PROPERTY(double trimEnd READ trimEnd WRITE setTrimEnd NOTIFY trimEndChanged FINAL)
    /// The bounds of the two sliders that are not 0 and `duration`.
    Q_PROPERTY(double trimStartLimit READ trimStartLimit NOTIFY trimEndChanged FINAL)
    Q_PROPERTY(double trimEndLimit READ trimEndLimit NOTIFY trimStartChanged FINAL)
    Q_PROPERTY(bool autoZoom READ autoZoom WRITE setAutoZoom NOTIFY autoZoomChanged FINAL)
    Q_PROPERTY(bool bubble READ bubble WRITE setBubble NOTIFY bubbleChanged FINAL)
    /// Raw value of the style.
    Q_PROPERTY(
        QString cameraStyle READ cameraStyleName WRITE setCameraStyleName NOTIFY cameraStyleChanged FINAL)
    Q_PROPERTY(bool ripples READ ripples WRITE setRipples NOTIFY ripplesChanged FINAL)
    Q_PROPERTY(bool systemAudio READ systemAudio WRITE setSystemAudio NOTIFY systemAudioChanged FINAL)
    Q_PROPERTY(bool hasSystemAudio READ hasSystemAudio CONSTANT FINAL)
    Q_PROPERTY(
        cobaltreel::PreviewModel::Quality quality READ quality WRITE setQuality NOTIFY qualityChanged FINAL)
    Q_PROPERTY(QString filename READ filename WRITE setFilename NOTIFY filenameChanged FINAL)
    Q_PROPERTY(bool exporting READ exporting NOTIFY exportingChanged FINAL)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged FINAL)
    /// How long the export still takes, for a person to read; empty until that can be told.
    Q_PROPERTY(QString timeLeft READ timeLeft NOTIFY progressChanged FINAL)
    Q_PROPERTY(bool isExported READ isExported NOTIFY exportedURLChanged FINAL)
    /// Where the exported movie is, for a person to read; empty before there is one.
    Q_PROPERTY(QString exportedTo READ exportedTo NOTIFY exportedURLChanged FINAL)
    /// Which device is missing in the recording, and when: a line for each time; empty when none is.
    Q_PROPERTY(QString missingDevices READ missingDevices NOTIFY missingDevicesChanged FINAL)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged FINAL)
    Q_PROPERTY(double position READ position NOTIFY positionChanged FINAL)
    /// Empty until they have been read.
    Q_PROPERTY(cobaltreel::TimelineMarkers* markers READ markers CONSTANT FINAL)
    Q_PROPERTY(cobaltreel::PictureSource* screenPictures READ screenPictures CONSTANT FINAL)
    /// Null when the session has no camera, or its movie cannot be played.
    Q_PROPERTY(
        cobaltreel::PictureSource* cameraPictures READ cameraPictures NOTIFY cameraPicturesChanged FINAL)
    /// Why the recording cannot be played; empty while it can.
    Q_PROPERTY(QString playbackProblem READ playbackProblem NOTIFY playbackProblemChanged FINAL)

  public:
    /// The export's qualities, in the same order.
    enum Quality { P720, P1080, Full };
    Q_ENUM(Quality)

    /// How far the camera may be from the screen before it is moved, seconds.
    static constexpr double bubbleDriftTolerance = 0.12;

    PreviewModel(SessionFolder folder, SessionMeta meta, PreviewServices services);
    /// Cancels a running export and waits for its end.
    ~PreviewModel() override;

    const SessionFolder& folder() const { return folder_; }
    const SessionMeta& meta() const { return meta_; }
    /// How long before the screen movie the camera movie began; negative when it began later.
    double cameraOffset() const { return cameraOffset_; }
    double duration() const { return duration_; }

    double trimStart() const { return trimStart_; }
    void setTrimStart(double seconds);
    double trimEnd() const { return trimEnd_; }
    void setTrimEnd(double seconds);
    double trimStartLimit() const;
    double trimEndLimit() const;
    bool autoZoom() const { return autoZoom_; }
    void setAutoZoom(bool on);
    bool bubble() const { return bubble_; }
    void setBubble(bool on);
    CameraStyle cameraStyle() const { return cameraStyle_; }
    void setCameraStyle(CameraStyle style);
    QString cameraStyleName() const;
    void setCameraStyleName(const QString& rawValue);
    bool ripples() const { return ripples_; }
    void setRipples(bool on);
    bool systemAudio() const { return systemAudio_; }
    void setSystemAudio(bool on);
    bool hasSystemAudio() const { return meta_.systemAudioEnabled; }
    Quality quality() const { return quality_; }
    void setQuality(Quality quality);
    QString filename() const { return filename_; }
    void setFilename(const QString& name);
    bool exporting() const { return exporting_; }
    double progress() const { return progress_; }
    QString timeLeft() const;
    const std::optional<std::filesystem::path>& exportedURL() const { return exportedURL_; }
    bool isExported() const { return exportedURL_.has_value(); }
    QString exportedTo() const;
    QString missingDevices() const;
    void setAbsences(std::vector<DeviceAbsence> absences);
    /// True from the first completed export on.
    bool hasExported() const { return hasExported_; }
    bool isPlaying() const { return isPlaying_; }
    double position() const { return position_; }
    TimelineMarkers* markers() { return &markers_; }
    PictureSource* screenPictures() const { return screenPictures_.get(); }
    PictureSource* cameraPictures() const { return cameraPictures_.get(); }
    QString playbackProblem() const { return playbackProblem_; }

    /// Starts an export with the choices of the moment; nothing while one runs.
    Q_INVOKABLE void exportMovie();
    /// Ends the running export; nothing remains of its file.
    Q_INVOKABLE void cancel();
    /// Shows the exported movie in the file browser, or says where it is.
    Q_INVOKABLE void showInFinder();

    /// Plays from where it stands, or from the start of the kept span when that is not inside it; pauses.
    Q_INVOKABLE void togglePlay();
    Q_INVOKABLE void pause();
    /// Stops and goes so many seconds on, or back.
    Q_INVOKABLE void step(double seconds);
    /// Goes to a time, playing on if it plays.
    Q_INVOKABLE void goTo(double seconds);
    /// Goes to the next marker, or to the one before; stays where there is none.
    Q_INVOKABLE void goToMarker(bool forward);
    /// Brings the camera to where the screen is; without `force` only when it is too far off.
    void resyncBubble(double mainSeconds, bool force);

    /// Minutes and seconds, such as 62:05.
    Q_INVOKABLE static QString mmss(double seconds);

    /// What mmss leaves out, to a tenth: ".9".
    Q_INVOKABLE static QString tenths(double seconds);

    /// The camera's pictures cut out; null without a camera. The model must outlive them.
    std::unique_ptr<PictureSource> makeCutoutPictures();

  Q_SIGNALS:
    void willChange();
    void trimStartChanged();
    void trimEndChanged();
    void autoZoomChanged();
    void bubbleChanged();
    void cameraStyleChanged();
    void ripplesChanged();
    void systemAudioChanged();
    void qualityChanged();
    void filenameChanged();
    void exportingChanged();
    void progressChanged();
    void exportedURLChanged();
    void missingDevicesChanged();
    void isPlayingChanged();
    void positionChanged();
    void cameraPicturesChanged();
    void playbackProblemChanged();

  private:
    struct ExportRun;
    struct Outcome;

    template <typename Field>
    bool change(Field& field, Field value, void (PreviewModel::*changed)()) {
        if (field == value) return false;
        Q_EMIT willChange();
        field = std::move(value);
        Q_EMIT(this->*changed)();
        return true;
    }

    void makePlayers();
    void setUpPlayback();
    void play(platform::PlayerItem item, bool isWhole);
    void playbackFailed(const platform::PlatformError& error);
    void startCameraSync();
    void updateRate();
    void onTimeChanged(double seconds);
    void seekTo(double seconds);
    ExportOptions exportOptions() const;
    void exportEnded(const Outcome& outcome);
    /// Runs `work` on the main thread later, unless this has gone by then. Any thread that this waits for.
    void postWhileAlive(std::function<void()> work);

    const SessionFolder folder_;
    const SessionMeta meta_;
    const PreviewServices services_;
    double cameraOffset_;
    double duration_;

    std::unique_ptr<platform::Player> player_;
    std::unique_ptr<platform::Player> cameraPlayer_;  // only with a camera
    std::unique_ptr<PlayerPictures> screenPictures_;
    std::unique_ptr<PlayerPictures> cameraPictures_;
    std::unique_ptr<platform::Observation> periodicObserver_;
    std::unique_ptr<platform::Observation> timeControlObs_;
    std::unique_ptr<platform::Observation> timeJumpToken_;
    std::unique_ptr<platform::Observation> positionObserver_;
    std::unique_ptr<platform::Observation> playingObserver_;
    std::unique_ptr<platform::Observation> failureObserver_;
    std::unique_ptr<platform::Observation> cameraFailureObserver_;
    bool playsWhole_ = false;  // the composed item, not the plain screen movie

    double trimStart_ = 0;
    double trimEnd_;
    bool autoZoom_;
    bool bubble_;
    CameraStyle cameraStyle_;
    bool ripples_ = true;
    bool systemAudio_;
    Quality quality_ = P1080;
    QString filename_;
    bool exporting_ = false;
    double progress_ = 0;
    std::optional<std::filesystem::path> exportedURL_;
    bool hasExported_ = false;
    std::vector<DeviceAbsence> absences_;
    bool isPlaying_ = false;
    double position_ = 0;
    QString playbackProblem_;
    TimelineMarkers markers_;

    double exportStart_ = 0;
    platform::Lifetime lifetime_;
    std::shared_ptr<ExportRun> run_;  // the export in progress, or the last one
    platform::SerialQueue opening_{"cobaltreel.editor.open"};
    platform::NamedThread exportThread_;
};

}  // namespace cobaltreel
