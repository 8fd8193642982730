#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"

#include "Cobaltreel/Support/Strings.hpp"

#include <QVariantMap>
#include <algorithm>
#include <utility>

namespace cobaltreel {

using platform::CaptureDevice;

namespace {

const QString cameraTopic = QStringLiteral("camera"), microphoneTopic = QStringLiteral("microphone");

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QVariantMap item(QVariant value, QString title) {
    return {{QStringLiteral("value"), std::move(value)}, {QStringLiteral("title"), std::move(title)}};
}

template <typename Value>
QVariant selected(const std::optional<Value>& value) {
    return value ? QVariant::fromValue(*value) : QVariant();
}

QVariant selected(const std::optional<std::string>& value) {
    return value ? QVariant(text(*value)) : QVariant();
}

/// Of an entry that stands for the desktop's own dialog.
QString offerLabel(platform::Offer offer) {
    return offer == platform::Offer::lastChoice ? S::chosenLast() : S::chosenWhenStarting();
}

QString windowLabel(const platform::Window& window) {
    if (window.offer != platform::Offer::itself) return offerLabel(window.offer);
    const QString application =
        window.owningApplication ? text(window.owningApplication->name) : QStringLiteral("?");
    return application + QStringLiteral(" — ") + text(window.title);
}

QString deviceName(const std::vector<CaptureDevice>& devices, const std::optional<std::string>& chosen,
                   const QString& withoutAny) {
    if (devices.empty()) return withoutAny;
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const CaptureDevice& device) { return device.uniqueID == chosen; });
    return text((found == devices.end() ? devices.front() : *found).name);
}

Picker devicePicker(const std::vector<CaptureDevice>& devices, const std::optional<std::string>& chosen,
                    QString name) {
    Picker picker{{}, selected(chosen), std::move(name)};
    for (const CaptureDevice& device : devices)
        picker.items.append(item(text(device.uniqueID), text(device.name)));
    return picker;
}

}  // namespace

PopoverModel::PopoverModel(RecordingCoordinator& coordinator, std::shared_ptr<platform::Clock> clock,
                           std::shared_ptr<platform::MainLoop> mainLoop, QObject* parent)
    : QObject(parent), coordinator_(coordinator), egg_(std::move(clock), std::move(mainLoop)) {
    passOnChanges();
    watchChoices();
    connect(
        &coordinator_, &RecordingCoordinator::deviceMessage, this,
        [this](const QString& notice, const QString&, const QString& topic) { setNotice(topic, notice); });
    connect(&coordinator_, &RecordingCoordinator::stateChanged, this, [this] { onStateChanged(); });
}

void PopoverModel::onStateChanged() {
    using State = RecordingCoordinator::State;
    if (coordinator_.state() == State::countdown) {
        std::erase_if(notices_, [](const auto& notice) {
            return notice.first != hotKeyTopic && notice.first != clicksTopic;
        });
        noteWhatIsMissing();
        Q_EMIT noticeChanged();
    }
    const bool hasRecorded = std::exchange(wasRecording_, isRecording());
    if (coordinator_.state() != State::idle) return;
    // A countdown that was cancelled leaves the devices running. After a recording the user looks at it: a
    // panel that has stayed open takes them up when the user turns to it.
    if (!shown_)
        coordinator_.stopCameraPreview();
    else if (!hasRecorded)
        resumePreview();
}

void PopoverModel::resumePreview() {
    if (shown_ && authorized_ && !coordinator_.previewActive()) startPreview();
}

void PopoverModel::startPreview() {
    const auto nameOf = [](const auto& device) {
        return device ? std::optional(device->uniqueID) : std::nullopt;
    };
    usedCamera_ = nameOf(coordinator_.selectedCamera());
    usedMic_ = nameOf(coordinator_.selectedMic());
    coordinator_.startCameraPreview();
}

/// A device that was not there when the preview began is.
void PopoverModel::takeUpDevices() {
    const bool isNew =
        (coordinator_.selectedCamera() && !usedCamera_) || (coordinator_.selectedMic() && !usedMic_);
    if (isNew && shown_ && authorized_ && isChoosing()) startPreview();
}

void PopoverModel::setNotice(const QString& topic, const QString& text) {
    const auto found =
        std::ranges::find(notices_, topic, [](const auto& notice) -> const QString& { return notice.first; });
    if (found == notices_.end() ? text.isEmpty() : found->second == text) return;
    if (found == notices_.end())
        notices_.emplace_back(topic, text);
    else if (text.isEmpty())
        notices_.erase(found);
    else
        found->second = text;
    Q_EMIT noticeChanged();
}

QString PopoverModel::notice() const {
    QStringList lines;
    for (const auto& [topic, line] : notices_) lines.append(line);
    return lines.join(QLatin1Char('\n'));
}

void PopoverModel::noteWhatIsMissing() {
    // A device lost during a recording has its own message.
    if (!coordinator_.devicesKnown() || isRecording()) return;
    const bool noServer = coordinator_.mediaServerMissing();
    const bool noCamera = coordinator_.cameraEnabled() && coordinator_.cameras().empty();
    setNotice(cameraTopic, noServer ? S::mediaServerMissing() : noCamera ? S::cameraMissing() : QString());
    setNotice(microphoneTopic, !noServer && coordinator_.mics().empty() ? S::microphoneMissing() : QString());
}

void PopoverModel::passOnChanges() {
    using From = RecordingChoices;
    using To = PopoverModel;
    const auto pass = [this](auto from, auto to) { connect(&coordinator_, from, this, to); };
    pass(&RecordingCoordinator::stateChanged, &To::stateChanged);
    pass(&RecordingCoordinator::micLevelChanged, &To::micLevelChanged);
    pass(&From::modeChanged, &To::modeChanged);
    pass(&From::displaysChanged, &To::displayChanged);
    pass(&From::selectedDisplayIDChanged, &To::displayChanged);
    pass(&From::windowsChanged, &To::windowChanged);
    pass(&From::selectedWindowIDChanged, &To::windowChanged);
    pass(&From::cameraEnabledChanged, &To::cameraEnabledChanged);
    pass(&From::mirrorCameraChanged, &To::mirrorCameraChanged);
    pass(&From::camerasChanged, &To::cameraChanged);
    pass(&From::selectedCameraIDChanged, &To::cameraChanged);
    pass(&From::cameraCornerChanged, &To::cameraCornerChanged);
    pass(&From::bubbleSizeFractionChanged, &To::bubbleSizeFractionChanged);
    pass(&From::cameraStyleChanged, &To::cameraStyleChanged);
    pass(&From::micsChanged, &To::micChanged);
    pass(&From::selectedMicIDChanged, &To::micChanged);
    pass(&From::systemAudioEnabledChanged, &To::systemAudioEnabledChanged);
    pass(&From::autoZoomEnabledChanged, &To::autoZoomEnabledChanged);
}

void PopoverModel::watchChoices() {
    using From = RecordingChoices;
    const auto moveBubble = [this] {
        if (shown_) coordinator_.updateBubble();
    };
    connect(&coordinator_, &From::cameraCornerChanged, this, moveBubble);
    connect(&coordinator_, &From::bubbleSizeFractionChanged, this, moveBubble);

    // What a refresh chooses by itself is followed at the set-up's end, once the devices may be used.
    const auto restartPreview = [this] {
        if (shown_ && authorized_ && isChoosing()) startPreview();
    };
    for (const auto changed :
         {&From::cameraEnabledChanged, &From::mirrorCameraChanged, &From::cameraStyleChanged,
          &From::selectedCameraIDChanged, &From::selectedMicIDChanged})
        connect(&coordinator_, changed, this, restartPreview);
    for (const auto changed : {&From::camerasChanged, &From::micsChanged}) {
        connect(&coordinator_, changed, this, &PopoverModel::takeUpDevices);
        connect(&coordinator_, changed, this, &PopoverModel::noteWhatIsMissing);
    }
    connect(&coordinator_, &From::cameraEnabledChanged, this, &PopoverModel::noteWhatIsMissing);
}

void PopoverModel::appear() {
    shown_ = true;
    authorized_ = false;
    ++appearance_;
    setUp();
}

void PopoverModel::disappear() {
    shown_ = false;
    ++appearance_;
    coordinator_.stopCameraPreview();
}

void PopoverModel::turnTo() {
    if (authorized_) refresh();
}

QCoro::Task<void> PopoverModel::setUp() {
    const auto isCancelled = [this, alive = lifetime_.watch(), appearance = appearance_] {
        return !alive || appearance_ != appearance;
    };
    co_await refresh();
    if (isCancelled()) co_return;
    const bool authorized = co_await coordinator_.ensureAuthorized(coordinator_.cameraEnabled());
    if (isCancelled()) co_return;
    authorized_ = authorized;
    if (authorized) startPreview();
}

QCoro::Task<void> PopoverModel::refresh() {
    const auto alive = lifetime_.watch();
    co_await coordinator_.refreshContent();
    if (!alive) co_return;
    coordinator_.refreshDevices();
    noteWhatIsMissing();
    resumePreview();
}

QString PopoverModel::displayLabel(const platform::Display& display, int index) {
    if (display.offer != platform::Offer::itself) return offerLabel(display.offer);
    if (display.name.empty()) return S::displayFallback(index + 1, display.width(), display.height());
    return QStringLiteral("%1 (%2×%3)").arg(text(display.name)).arg(display.width()).arg(display.height());
}

QString PopoverModel::currentDisplayName() const {
    const auto& displays = coordinator_.displays();
    if (displays.empty()) return S::fullScreen();
    const auto found = std::find_if(displays.begin(), displays.end(), [&](const platform::Display& display) {
        return display.displayID == coordinator_.selectedDisplayID();
    });
    const auto shown = found == displays.end() ? displays.begin() : found;
    return displayLabel(*shown, static_cast<int>(shown - displays.begin()));
}

QString PopoverModel::currentWindowName() const {
    const auto& windows = coordinator_.windows();
    const auto found = std::find_if(windows.begin(), windows.end(), [&](const platform::Window& window) {
        return window.windowID == coordinator_.selectedWindowID();
    });
    return found == windows.end() ? S::window() : windowLabel(*found);
}

QString PopoverModel::currentCameraName() const {
    return deviceName(coordinator_.cameras(), coordinator_.selectedCameraID(), S::camera());
}

QString PopoverModel::currentMicName() const {
    return deviceName(coordinator_.mics(), coordinator_.selectedMicID(), S::microphone());
}

Picker PopoverModel::display() const {
    Picker picker{{}, selected(coordinator_.selectedDisplayID()), currentDisplayName()};
    int index = 0;
    for (const platform::Display& display : coordinator_.displays())
        picker.items.append(item(display.displayID, displayLabel(display, index++)));
    return picker;
}

Picker PopoverModel::window() const {
    Picker picker{{}, selected(coordinator_.selectedWindowID()), currentWindowName()};
    for (const platform::Window& window : coordinator_.windows())
        picker.items.append(item(window.windowID, windowLabel(window)));
    return picker;
}

Picker PopoverModel::camera() const {
    return devicePicker(coordinator_.cameras(), coordinator_.selectedCameraID(), currentCameraName());
}

Picker PopoverModel::mic() const {
    return devicePicker(coordinator_.mics(), coordinator_.selectedMicID(), currentMicName());
}

void PopoverModel::chooseCamera(const QString& uniqueID) {
    coordinator_.setSelectedCameraID(uniqueID.toStdString());
}

void PopoverModel::chooseMic(const QString& uniqueID) {
    coordinator_.setSelectedMicID(uniqueID.toStdString());
}

QString PopoverModel::mode() const { return text(rawValue(coordinator_.mode())); }
QString PopoverModel::cameraCorner() const { return text(rawValue(coordinator_.cameraCorner())); }
QString PopoverModel::cameraStyle() const { return text(rawValue(coordinator_.cameraStyle())); }

void PopoverModel::setMode(const QString& rawValue) {
    if (const auto mode = fromRawValue<CaptureMode>(rawValue.toStdString())) coordinator_.setMode(*mode);
}

void PopoverModel::setCameraCorner(const QString& rawValue) {
    if (const auto corner = fromRawValue<CameraCorner>(rawValue.toStdString()))
        coordinator_.setCameraCorner(*corner);
}

void PopoverModel::setCameraStyle(const QString& rawValue) {
    if (const auto style = fromRawValue<CameraStyle>(rawValue.toStdString()))
        coordinator_.setCameraStyle(*style);
}

}  // namespace cobaltreel
