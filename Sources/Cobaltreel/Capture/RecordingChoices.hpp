#pragma once

#include "CobaltreelCore/Models.hpp"
#include "Platform/Capture/CaptureSession.hpp"
#include "Platform/Capture/ShareableContent.hpp"
#include "Platform/Foundation/UserDefaults.hpp"

#include <QObject>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cobaltreel {

/// What there is to record and what the user has chosen of it. Main thread only. Observers are notified by
/// `willChange` before any field changes, and by the field's own signal after it did. Only the camera
/// style outlives the run, in the user defaults.
class RecordingChoices : public QObject {
    Q_OBJECT
    Q_PROPERTY(cobaltreel::CaptureMode mode READ mode WRITE setMode NOTIFY modeChanged)
    Q_PROPERTY(std::vector<platform::Display> displays READ displays NOTIFY displaysChanged)
    Q_PROPERTY(std::vector<platform::Window> windows READ windows NOTIFY windowsChanged)
    Q_PROPERTY(std::optional<quint32> selectedDisplayID READ selectedDisplayID WRITE setSelectedDisplayID
                   NOTIFY selectedDisplayIDChanged)
    Q_PROPERTY(std::optional<quint32> selectedWindowID READ selectedWindowID WRITE setSelectedWindowID NOTIFY
                   selectedWindowIDChanged)
    Q_PROPERTY(bool systemAudioEnabled READ systemAudioEnabled WRITE setSystemAudioEnabled NOTIFY
                   systemAudioEnabledChanged)
    Q_PROPERTY(double bubbleSizeFraction READ bubbleSizeFraction WRITE setBubbleSizeFraction NOTIFY
                   bubbleSizeFractionChanged)
    Q_PROPERTY(
        bool autoZoomEnabled READ autoZoomEnabled WRITE setAutoZoomEnabled NOTIFY autoZoomEnabledChanged)
    Q_PROPERTY(bool cameraEnabled READ cameraEnabled WRITE setCameraEnabled NOTIFY cameraEnabledChanged)
    Q_PROPERTY(cobaltreel::CameraCorner cameraCorner READ cameraCorner WRITE setCameraCorner NOTIFY
                   cameraCornerChanged)
    Q_PROPERTY(std::vector<platform::CaptureDevice> cameras READ cameras NOTIFY camerasChanged)
    Q_PROPERTY(std::vector<platform::CaptureDevice> mics READ mics NOTIFY micsChanged)
    Q_PROPERTY(std::optional<std::string> selectedCameraID READ selectedCameraID WRITE setSelectedCameraID
                   NOTIFY selectedCameraIDChanged)
    Q_PROPERTY(std::optional<std::string> selectedMicID READ selectedMicID WRITE setSelectedMicID NOTIFY
                   selectedMicIDChanged)
    Q_PROPERTY(bool mirrorCamera READ mirrorCamera WRITE setMirrorCamera NOTIFY mirrorCameraChanged)
    Q_PROPERTY(
        cobaltreel::CameraStyle cameraStyle READ cameraStyle WRITE setCameraStyle NOTIFY cameraStyleChanged)

  public:
    explicit RecordingChoices(std::shared_ptr<platform::UserDefaults> defaults, QObject* parent = nullptr);

    CaptureMode mode() const { return mode_; }
    const std::vector<platform::Display>& displays() const { return displays_; }
    const std::vector<platform::Window>& windows() const { return windows_; }
    /// May name a display or window that is no longer there.
    std::optional<std::uint32_t> selectedDisplayID() const { return selectedDisplayID_; }
    std::optional<std::uint32_t> selectedWindowID() const { return selectedWindowID_; }
    bool systemAudioEnabled() const { return systemAudioEnabled_; }
    /// The bubble's diameter as a fraction of the main screen's height.
    double bubbleSizeFraction() const { return bubbleSizeFraction_; }
    bool autoZoomEnabled() const { return autoZoomEnabled_; }
    bool cameraEnabled() const { return cameraEnabled_; }
    CameraCorner cameraCorner() const { return cameraCorner_; }
    const std::vector<platform::CaptureDevice>& cameras() const { return cameras_; }
    const std::vector<platform::CaptureDevice>& mics() const { return mics_; }
    const std::optional<std::string>& selectedCameraID() const { return selectedCameraID_; }
    const std::optional<std::string>& selectedMicID() const { return selectedMicID_; }
    bool mirrorCamera() const { return mirrorCamera_; }
    CameraStyle cameraStyle() const { return cameraStyle_; }

    void setMode(CaptureMode mode);
    void setSelectedDisplayID(std::optional<std::uint32_t> displayID);
    void setSelectedWindowID(std::optional<std::uint32_t> windowID);
    void setSystemAudioEnabled(bool enabled);
    void setBubbleSizeFraction(double fraction);
    void setAutoZoomEnabled(bool enabled);
    void setCameraEnabled(bool enabled);
    void setCameraCorner(CameraCorner corner);
    void setSelectedCameraID(std::optional<std::string> uniqueID);
    void setSelectedMicID(std::optional<std::string> uniqueID);
    void setMirrorCamera(bool mirror);
    /// Stored at once.
    void setCameraStyle(CameraStyle style);

    /// Whether this is the window that was selected: numbers are used again for windows of other programs.
    bool isSelected(const platform::Window& window) const;
    /// The camera that a recording uses: none when cameras are off or the selected one is not listed.
    std::optional<platform::CaptureDevice> selectedCamera() const;
    /// The microphone that a recording uses: the selected one, else the desktop's default; absent when there
    /// is none.
    std::optional<platform::CaptureDevice> selectedMic() const;

    /// Takes over what can be recorded. A selection that is there stays, even when what it names has gone,
    /// but for a window whose number now is that of another program's.
    void offer(const platform::ShareableContent& content, const std::string& ownBundleIdentifier);
    void offer(const platform::CaptureDevices& devices);

  Q_SIGNALS:
    void willChange();
    void modeChanged();
    void displaysChanged();
    void windowsChanged();
    void selectedDisplayIDChanged();
    void selectedWindowIDChanged();
    void systemAudioEnabledChanged();
    void bubbleSizeFractionChanged();
    void autoZoomEnabledChanged();
    void cameraEnabledChanged();
    void cameraCornerChanged();
    void camerasChanged();
    void micsChanged();
    void selectedCameraIDChanged();
    void selectedMicIDChanged();
    void mirrorCameraChanged();
    void cameraStyleChanged();

  protected:
    /// Changes a field and tells the observers, unless it has that value already.
    template <typename Owner, typename Field>
    void assign(Field& field, Field value, void (Owner::*changed)()) {
        if (field == value) return;
        replace(field, std::move(value), changed);
    }
    template <typename Owner, typename Field>
    void replace(Field& field, Field value, void (Owner::*changed)()) {
        Q_EMIT willChange();
        field = std::move(value);
        Q_EMIT(static_cast<Owner*>(this)->*changed)();
    }

  private:
    std::shared_ptr<platform::UserDefaults> defaults_;
    CaptureMode mode_ = CaptureMode::display;
    std::vector<platform::Display> displays_;
    std::vector<platform::Window> windows_;
    std::optional<std::uint32_t> selectedDisplayID_;
    std::optional<std::uint32_t> selectedWindowID_;
    std::optional<platform::RunningApplication> selectedWindowOwner_;
    bool systemAudioEnabled_ = false;
    double bubbleSizeFraction_ = 0.24;
    bool autoZoomEnabled_ = false;
    bool cameraEnabled_ = true;
    CameraCorner cameraCorner_ = CameraCorner::bottomLeft;
    std::vector<platform::CaptureDevice> cameras_;
    std::vector<platform::CaptureDevice> mics_;
    std::optional<platform::CaptureDevice> defaultMic_;
    std::optional<std::string> selectedCameraID_;
    std::optional<std::string> selectedMicID_;
    bool mirrorCamera_ = true;
    CameraStyle cameraStyle_;
};

}  // namespace cobaltreel
