#include "Cobaltreel/Capture/RecordingChoices.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cobaltreel {

using platform::CaptureDevice;

namespace {

const std::string cameraStyleKey = "cameraStyle";
// Points; smaller windows are palettes and tips, not something to record.
constexpr double minWindowWidth = 200;
constexpr double minWindowHeight = 150;

CameraStyle storedStyle(const platform::UserDefaults& defaults) {
    const auto stored = defaults.string(cameraStyleKey);
    return stored ? fromRawValue<CameraStyle>(*stored).value_or(CameraStyle::bubble) : CameraStyle::bubble;
}

std::optional<CaptureDevice> named(const std::optional<std::string>& uniqueID,
                                   const std::vector<CaptureDevice>& devices) {
    if (!uniqueID) return std::nullopt;
    const auto found = std::ranges::find(devices, *uniqueID, &CaptureDevice::uniqueID);
    return found == devices.end() ? std::nullopt : std::optional(*found);
}

bool isOffered(const platform::Window& window, const std::string& ownBundleIdentifier) {
    const bool own =
        window.owningApplication && window.owningApplication->bundleIdentifier == ownBundleIdentifier;
    return window.isOnScreen && window.frame.w > minWindowWidth && window.frame.h > minWindowHeight && !own;
}

}  // namespace

RecordingChoices::RecordingChoices(std::shared_ptr<platform::UserDefaults> defaults, QObject* parent)
    : QObject(parent), defaults_(std::move(defaults)), cameraStyle_(storedStyle(*defaults_)) {}

void RecordingChoices::setMode(CaptureMode mode) { assign(mode_, mode, &RecordingChoices::modeChanged); }

void RecordingChoices::setSelectedDisplayID(std::optional<std::uint32_t> displayID) {
    assign(selectedDisplayID_, displayID, &RecordingChoices::selectedDisplayIDChanged);
}

void RecordingChoices::setSelectedWindowID(std::optional<std::uint32_t> windowID) {
    const auto listed = std::ranges::find_if(
        windows_, [&](const platform::Window& each) { return each.windowID == windowID; });
    selectedWindowOwner_ = listed != windows_.end() ? listed->owningApplication : std::nullopt;
    assign(selectedWindowID_, windowID, &RecordingChoices::selectedWindowIDChanged);
}

bool RecordingChoices::isSelected(const platform::Window& window) const {
    const bool isOwnerTheSame = !selectedWindowOwner_ || !window.owningApplication ||
                                *selectedWindowOwner_ == *window.owningApplication;
    return window.windowID == selectedWindowID_ && isOwnerTheSame;
}

void RecordingChoices::setSystemAudioEnabled(bool enabled) {
    assign(systemAudioEnabled_, enabled, &RecordingChoices::systemAudioEnabledChanged);
}

void RecordingChoices::setBubbleSizeFraction(double fraction) {
    assign(bubbleSizeFraction_, fraction, &RecordingChoices::bubbleSizeFractionChanged);
}

void RecordingChoices::setAutoZoomEnabled(bool enabled) {
    assign(autoZoomEnabled_, enabled, &RecordingChoices::autoZoomEnabledChanged);
}

void RecordingChoices::setCameraEnabled(bool enabled) {
    assign(cameraEnabled_, enabled, &RecordingChoices::cameraEnabledChanged);
}

void RecordingChoices::setCameraCorner(CameraCorner corner) {
    assign(cameraCorner_, corner, &RecordingChoices::cameraCornerChanged);
}

void RecordingChoices::setSelectedCameraID(std::optional<std::string> uniqueID) {
    assign(selectedCameraID_, std::move(uniqueID), &RecordingChoices::selectedCameraIDChanged);
}

void RecordingChoices::setSelectedMicID(std::optional<std::string> uniqueID) {
    assign(selectedMicID_, std::move(uniqueID), &RecordingChoices::selectedMicIDChanged);
}

void RecordingChoices::setMirrorCamera(bool mirror) {
    assign(mirrorCamera_, mirror, &RecordingChoices::mirrorCameraChanged);
}

void RecordingChoices::setCameraStyle(CameraStyle style) {
    assign(cameraStyle_, style, &RecordingChoices::cameraStyleChanged);
    defaults_->setString(cameraStyleKey, std::string(rawValue(style)));
}

std::optional<CaptureDevice> RecordingChoices::selectedCamera() const {
    return cameraEnabled_ ? named(selectedCameraID_, cameras_) : std::nullopt;
}

std::optional<CaptureDevice> RecordingChoices::selectedMic() const {
    const auto selected = named(selectedMicID_, mics_);
    return selected ? selected : defaultMic_;
}

void RecordingChoices::offer(const platform::ShareableContent& content,
                             const std::string& ownBundleIdentifier) {
    std::vector<platform::Window> windows;
    std::ranges::copy_if(content.windows, std::back_inserter(windows),
                         [&](const auto& window) { return isOffered(window, ownBundleIdentifier); });
    const auto reused = std::ranges::find_if(content.windows, [this](const platform::Window& each) {
        return each.windowID == selectedWindowID_ && !isSelected(each);
    });
    if (reused != content.windows.end()) setSelectedWindowID(std::nullopt);
    replace(displays_, content.displays, &RecordingChoices::displaysChanged);
    replace(windows_, std::move(windows), &RecordingChoices::windowsChanged);
    if (!selectedDisplayID_ && !displays_.empty()) setSelectedDisplayID(displays_.front().displayID);
    if (!selectedWindowID_ && !windows_.empty()) setSelectedWindowID(windows_.front().windowID);
}

void RecordingChoices::offer(const platform::CaptureDevices& devices) {
    defaultMic_ = devices.defaultMicrophone;
    assign(cameras_, devices.cameras, &RecordingChoices::camerasChanged);
    assign(mics_, devices.microphones, &RecordingChoices::micsChanged);
    if (!selectedCameraID_ && !cameras_.empty()) setSelectedCameraID(cameras_.front().uniqueID);
    if (selectedMicID_) return;
    if (defaultMic_)
        setSelectedMicID(defaultMic_->uniqueID);
    else if (!mics_.empty())
        setSelectedMicID(mics_.front().uniqueID);
}

}  // namespace cobaltreel
