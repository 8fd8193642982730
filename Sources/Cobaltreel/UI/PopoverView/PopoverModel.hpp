#pragma once

#include "Cobaltreel/Capture/RecordingCoordinator.hpp"
#include "Cobaltreel/UI/PopoverView/VersionEgg.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// What a drop-down offers, what is chosen of it, and the text it shows while it is closed.
struct Picker {
    Q_GADGET
    QML_VALUE_TYPE(picker)
    Q_PROPERTY(QVariantList items MEMBER items FINAL)      ///< each { value, title }
    Q_PROPERTY(QVariant selection MEMBER selection FINAL)  ///< may be none of the items
    Q_PROPERTY(QString text MEMBER text FINAL)

  public:
    QVariantList items;
    QVariant selection;
    QString text;
};

/// The recording coordinator as the panel sees it: lists become items with names, cases become their raw
/// values. While the panel is shown the camera's preview runs and follows what is chosen. Main thread.
class PopoverModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made for a coordinator")
    Q_PROPERTY(bool recording READ isRecording NOTIFY stateChanged FINAL)
    /// Whether what is chosen acts: a recording goes on as it began.
    Q_PROPERTY(bool choosing READ isChoosing NOTIFY stateChanged FINAL)
    Q_PROPERTY(QString mode READ mode WRITE setMode NOTIFY modeChanged FINAL)
    Q_PROPERTY(cobaltreel::Picker display READ display NOTIFY displayChanged FINAL)
    Q_PROPERTY(cobaltreel::Picker window READ window NOTIFY windowChanged FINAL)
    Q_PROPERTY(bool cameraEnabled READ cameraEnabled WRITE setCameraEnabled NOTIFY cameraEnabledChanged FINAL)
    Q_PROPERTY(bool mirrorCamera READ mirrorCamera WRITE setMirrorCamera NOTIFY mirrorCameraChanged FINAL)
    Q_PROPERTY(cobaltreel::Picker camera READ camera NOTIFY cameraChanged FINAL)
    Q_PROPERTY(QString cameraCorner READ cameraCorner WRITE setCameraCorner NOTIFY cameraCornerChanged FINAL)
    Q_PROPERTY(double bubbleSizeFraction READ bubbleSizeFraction WRITE setBubbleSizeFraction NOTIFY
                   bubbleSizeFractionChanged FINAL)
    Q_PROPERTY(QString cameraStyle READ cameraStyle WRITE setCameraStyle NOTIFY cameraStyleChanged FINAL)
    Q_PROPERTY(cobaltreel::Picker mic READ mic NOTIFY micChanged FINAL)
    Q_PROPERTY(double micLevel READ micLevel NOTIFY micLevelChanged FINAL)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged FINAL)
    Q_PROPERTY(bool systemAudioEnabled READ systemAudioEnabled WRITE setSystemAudioEnabled NOTIFY
                   systemAudioEnabledChanged FINAL)
    Q_PROPERTY(bool autoZoomEnabled READ autoZoomEnabled WRITE setAutoZoomEnabled NOTIFY
                   autoZoomEnabledChanged FINAL)
    Q_PROPERTY(cobaltreel::VersionEgg* egg READ egg CONSTANT FINAL)

  public:
    /// `coordinator` must outlive the model. The clock and the main loop are the version line's.
    PopoverModel(RecordingCoordinator& coordinator, std::shared_ptr<platform::Clock> clock,
                 std::shared_ptr<platform::MainLoop> mainLoop, QObject* parent = nullptr);

    /// The panel is shown: reloads what there is to choose from, asks for the devices and starts their
    /// preview. `disappear` gives that up wherever it has come to, and ends the preview.
    void appear();
    void disappear();
    /// The user returned to a panel that stayed open: reloads the choices, unless showing
    /// it is still doing so.
    void turnTo();

    /// The name of a display with its size; one without a name is called by its position, from zero.
    static QString displayLabel(const platform::Display& display, int index);
    QString currentDisplayName() const;
    QString currentWindowName() const;
    QString currentCameraName() const;
    QString currentMicName() const;

    bool isRecording() const { return coordinator_.state() == RecordingCoordinator::State::recording; }
    bool isChoosing() const { return coordinator_.state() == RecordingCoordinator::State::idle; }
    /// A recording has been asked for and has not begun yet.
    bool isStarting() const { return coordinator_.state() == RecordingCoordinator::State::countdown; }
    Picker display() const;
    Picker window() const;
    Picker camera() const;
    Picker mic() const;
    bool cameraEnabled() const { return coordinator_.cameraEnabled(); }
    bool mirrorCamera() const { return coordinator_.mirrorCamera(); }
    double bubbleSizeFraction() const { return coordinator_.bubbleSizeFraction(); }
    double micLevel() const { return static_cast<double>(coordinator_.micLevel()); }
    /// What the user should know, a line for each topic: what befell a camera or microphone since the last
    /// recording began, what is missing, what another program has taken.
    QString notice() const;
    bool systemAudioEnabled() const { return coordinator_.systemAudioEnabled(); }
    bool autoZoomEnabled() const { return coordinator_.autoZoomEnabled(); }
    /// Raw values; setting another text changes nothing.
    QString mode() const;
    QString cameraCorner() const;
    QString cameraStyle() const;
    VersionEgg* egg() { return &egg_; }

    void setMode(const QString& rawValue);
    /// The line of a topic, or none when empty. A device's topic is its identifier.
    void setNotice(const QString& topic, const QString& text);
    /// Of the line that the shell writes about the keys; it stays with the next recording.
    static inline const QString hotKeyTopic = QStringLiteral("hot key");
    static inline const QString clicksTopic = QStringLiteral("clicks");
    static inline const QString bubbleTopic = QStringLiteral("bubble");

    void setCameraCorner(const QString& rawValue);
    void setCameraStyle(const QString& rawValue);
    void setCameraEnabled(bool enabled) { coordinator_.setCameraEnabled(enabled); }
    void setMirrorCamera(bool mirror) { coordinator_.setMirrorCamera(mirror); }
    void setBubbleSizeFraction(double fraction) { coordinator_.setBubbleSizeFraction(fraction); }
    void setSystemAudioEnabled(bool enabled) { coordinator_.setSystemAudioEnabled(enabled); }
    void setAutoZoomEnabled(bool enabled) { coordinator_.setAutoZoomEnabled(enabled); }

    Q_INVOKABLE void chooseDisplay(quint32 displayID) { coordinator_.setSelectedDisplayID(displayID); }
    Q_INVOKABLE void chooseWindow(quint32 windowID) { coordinator_.setSelectedWindowID(windowID); }
    Q_INVOKABLE void chooseCamera(const QString& uniqueID);
    Q_INVOKABLE void chooseMic(const QString& uniqueID);
    Q_INVOKABLE void toggle() { coordinator_.toggle(); }
    Q_INVOKABLE void openSettings() { coordinator_.openSettings(); }
    /// Asks the application to end.
    Q_INVOKABLE void quit() { Q_EMIT quitRequested(); }

  Q_SIGNALS:
    void stateChanged();
    void modeChanged();
    void displayChanged();
    void windowChanged();
    void cameraEnabledChanged();
    void mirrorCameraChanged();
    void cameraChanged();
    void cameraCornerChanged();
    void bubbleSizeFractionChanged();
    void cameraStyleChanged();
    void micChanged();
    void micLevelChanged();
    void noticeChanged();
    void systemAudioEnabledChanged();
    void autoZoomEnabledChanged();
    void quitRequested();

  private:
    void passOnChanges();
    void watchChoices();
    void onStateChanged();
    void resumePreview();
    void startPreview();
    void noteWhatIsMissing();
    void takeUpDevices();
    QCoro::Task<void> setUp();
    QCoro::Task<void> refresh();

    RecordingCoordinator& coordinator_;
    VersionEgg egg_;
    std::vector<std::pair<QString, QString>> notices_;  // by topic, the oldest first
    bool shown_ = false;
    bool authorized_ = false;  // since the panel is shown
    bool wasRecording_ = false;
    std::optional<std::string> usedCamera_;  // by the preview that was started last
    std::optional<std::string> usedMic_;
    std::uint64_t appearance_ = 0;  // counts showings and hidings: a set-up sees that its time is over
    platform::Lifetime lifetime_;
};

}  // namespace cobaltreel
