// What the coordinator offers while nothing is recorded: lists, selections, the live preview.
#include "CoordinatorHarness.hpp"

#include <set>

namespace cobaltreel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using RecordingPreviewTest = CoordinatorTest;

TEST_F(RecordingPreviewTest, OffersWhatIsWorthRecordingAndKeepsSelections) {
    auto& content = screenCapture->content;
    content.windows = {window(1, {0, 0, 200, 400}), window(2, {0, 0, 400, 150}),
                       window(3, {0, 0, 400, 400}, bundleIdentifier), window(4, {0, 0, 201, 151}),
                       window(5, {0, 0, 400, 400})};
    content.windows[3].owningApplication.reset();
    content.windows[4].isOnScreen = false;
    choose();
    ASSERT_THAT(coordinator->windows(), SizeIs(1));
    EXPECT_EQ(coordinator->windows()[0].windowID, 4U);
    EXPECT_EQ(coordinator->selectedWindowID(), 4U);
    EXPECT_EQ(coordinator->selectedDisplayID(), 11U);
    EXPECT_EQ(coordinator->selectedCameraID(), "cam");
    EXPECT_EQ(coordinator->selectedMicID(), "mic2") << "the desktop's default";

    // What was selected stays, also when it has gone; what cannot be had leaves the lists as they are.
    content = {};
    capture->fakeDevices = {};
    choose();
    EXPECT_THAT(coordinator->windows(), IsEmpty());
    EXPECT_THAT(coordinator->mics(), IsEmpty());
    EXPECT_EQ(coordinator->selectedWindowID(), 4U);
    EXPECT_EQ(coordinator->selectedDisplayID(), 11U);
    EXPECT_EQ(coordinator->selectedCameraID(), "cam");
    EXPECT_FALSE(coordinator->selectedCamera() || coordinator->selectedMic());
    content.displays.resize(3);
    screenCapture->contentError = platform::PlatformError("host", 1, "no display server");
    choose();
    EXPECT_THAT(coordinator->displays(), IsEmpty());

    capture->fakeDevices = {{}, {mic}, std::nullopt};
    makeCoordinator();
    choose();
    EXPECT_TRUE(coordinator->devicesKnown()) << "whatever the screen says";
    EXPECT_EQ(coordinator->selectedMicID(), "mic") << "the first where there is no default";
    EXPECT_FALSE(coordinator->selectedCameraID());
}

TEST_F(RecordingPreviewTest, ShowsAndMeasuresTheDevicesUntilStopped) {
    choose();
    coordinator->startCameraPreview();
    ASSERT_TRUE(eventually([&] { return devices().isRunning(); }));
    EXPECT_THAT(devices().commits().back().inputs, ElementsAre(otherMic, camera));
    EXPECT_TRUE(devices().commits().back().mirrored);
    EXPECT_TRUE(bubble->isShown);
    EXPECT_NEAR(bubble->diameter, 982 * 0.24, 1e-9);
    devices().deliverPicture(1000);
    EXPECT_EQ(bubble->frames(), 1);
    devices().deliverSound(1000, 0.04F);
    time->advance(0.051);
    EXPECT_NEAR(coordinator->micLevel(), 0.44, 1e-6);

    coordinator->setCameraCorner(CameraCorner::topLeft);
    coordinator->setBubbleSizeFraction(0.3);
    coordinator->updateBubble();
    EXPECT_EQ(bubble->corner, CameraCorner::topLeft);
    EXPECT_NEAR(bubble->diameter, 982 * 0.3, 1e-9);
    desktop->screenList.clear();
    coordinator->updateBubble();
    EXPECT_NEAR(bubble->diameter, 900 * 0.3, 1e-9);

    coordinator->setCameraStyle(CameraStyle::cutout);
    coordinator->setMirrorCamera(false);
    coordinator->startCameraPreview();
    EXPECT_EQ(bubble->style, CameraStyle::cutout);
    coordinator->setCameraEnabled(false);
    coordinator->startCameraPreview();
    EXPECT_FALSE(bubble->isShown);
    ASSERT_TRUE(eventually([&] { return devices().commits().back().inputs.size() == 1; }));
    devices().deliverPicture(1001);
    EXPECT_EQ(bubble->frames(), 1);

    coordinator->stopCameraPreview();
    EXPECT_FALSE(coordinator->previewActive());
    EXPECT_EQ(coordinator->micLevel(), 0);
    ASSERT_TRUE(eventually([&] { return !devices().isRunning(); }));
    time->advance(1);
    EXPECT_EQ(coordinator->micLevel(), 0) << "nothing measures any more";
}

TEST_F(RecordingPreviewTest, APanelThatIsClosedAndOpenedAtOnceKeepsItsPicture) {
    choose();
    for (int i = 0; i < 20; ++i) {
        coordinator->startCameraPreview();
        coordinator->stopCameraPreview();
    }
    coordinator->startCameraPreview();
    const auto commits = [&] { return devices().commits().size(); };
    std::size_t before = 0;
    ASSERT_TRUE(
        eventually([&] { return devices().isRunning() && std::exchange(before, commits()) == commits(); }));
    for (int i = 0; i < 100; ++i) {
        time->drain();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(devices().isRunning());
    EXPECT_THAT(devices().commits().back().inputs, SizeIs(2));
}

TEST_F(RecordingPreviewTest, ARecordingKeepsThePreviewAsItIs) {
    choose();
    coordinator->startCameraPreview();
    record();
    coordinator->startCameraPreview();
    coordinator->stopCameraPreview();
    EXPECT_TRUE(coordinator->previewActive());
    devices().deliverPicture(1001);
    devices().deliverSound(1001, 0.04F);
    time->advance(0.1);
    EXPECT_EQ(bubble->frames(), 1);
    EXPECT_GT(coordinator->micLevel(), 0);
    time->advance(1);
    EXPECT_EQ(coordinator->micLevel(), 0) << "a meter that stands still would look alive";
    stop();
    time->advance(1);
    EXPECT_EQ(coordinator->micLevel(), 0);
    EXPECT_FALSE(bubble->isShown);
}

TEST_F(RecordingPreviewTest, RecordsWithTheDevicesThereAre) {
    struct Case {
        const char* what;
        platform::CaptureDevices devices;
        bool camera, preview;
    };
    for (const Case& c : std::initializer_list<Case>{{"all", {{camera}, {mic}, mic}, true, true},
                                                     {"a camera alone", {{camera}, {}, {}}, true, true},
                                                     {"a microphone alone", {{}, {mic}, mic}, false, true},
                                                     {"none", {}, false, false}}) {
        SCOPED_TRACE(c.what);
        capture->fakeDevices = c.devices;
        choose();
        record();
        EXPECT_EQ(coordinator->previewActive(), c.preview);
        EXPECT_EQ(bubble->isShown, c.camera);
        EXPECT_EQ(coordinator->meta()->cameraEnabled, c.camera);
        EXPECT_EQ(media->writers[media->writers.size() - 2]->videoSettings.has_value(), c.camera);
        stop();
        EXPECT_FALSE(windows->previews.back().meta.cameraFirstPTS);
    }
    EXPECT_THAT(alerts->alerts, IsEmpty());
}

TEST_F(RecordingPreviewTest, TellsWhatHappensToADevice) {
    using Kind = platform::CaptureEvent::Kind;
    std::pair<QString, QString> told;
    QObject::connect(coordinator.get(), &RecordingCoordinator::deviceMessage,
                     [&](const QString& notice, const QString& details) {
                         told = {notice, details};
                     });
    record();
    std::set<QString> notices;
    for (const Language language : allCases<Language>)
        for (const Kind kind :
             {Kind::lost, Kind::returned, Kind::failed, Kind::unreadable, Kind::stalled, Kind::silent}) {
            L::current = language;
            devices().notify({kind, otherMic, "in English"});
            time->drain();
            EXPECT_TRUE(told.first.contains("Headset")) << told.first.toStdString();
            EXPECT_EQ(told.second, "in English");
            notices.insert(told.first);
        }
    EXPECT_GE(notices.size(), 8U) << "each says something of its own";
    EXPECT_EQ(coordinator->state(), State::recording);
    stop();
}

TEST_F(RecordingPreviewTest, ThePreviewIsToldWhichDeviceWasMissingWhen) {
    using Kind = platform::CaptureEvent::Kind;
    record();
    const double start = time->now();
    const auto notify = [&](double at, Kind kind, const platform::CaptureDevice& device) {
        for (; time->now() < start + at; time->advance(1)) devices().deliverSound(time->now(), 0.5F);
        devices().notify({kind, device, {}});
        time->drain();
    };
    notify(2, Kind::lost, camera);
    notify(3, Kind::silent, otherMic);
    notify(5, Kind::returned, camera);
    notify(6, Kind::failed, otherMic);
    notify(7, Kind::lost, otherMic);
    stop();
    ASSERT_THAT(windows->previews, SizeIs(1));
    const auto& absences = windows->previews[0].absences;
    const double first = windows->previews[0].meta.screenFirstPTS.value_or(0);
    EXPECT_THAT(absences, ElementsAre(DeviceAbsence{"Camera", start + 2 - first, start + 5 - first},
                                      DeviceAbsence{"Headset", start + 6 - first, std::nullopt}));
    record();
    stop();
    EXPECT_THAT(windows->previews[1].absences, IsEmpty()) << "each recording has its own";
}

TEST_F(RecordingPreviewTest, TheCameraStyleOutlivesTheRun) {
    for (const auto& [stored, style] :
         std::initializer_list<std::pair<const char*, CameraStyle>>{{"cutout", CameraStyle::cutout},
                                                                    {"bubble", CameraStyle::bubble},
                                                                    {"Cutout", CameraStyle::bubble}}) {
        defaults->strings["cameraStyle"] = stored;
        makeCoordinator();
        EXPECT_EQ(coordinator->cameraStyle(), style) << stored;
        EXPECT_EQ(defaults->strings["cameraStyle"], stored) << "reading stores nothing";
    }
    coordinator->setCameraStyle(CameraStyle::bubble);
    EXPECT_EQ(defaults->strings["cameraStyle"], "bubble") << "assigned, though it was that already";
    coordinator->setCameraStyle(CameraStyle::cutout);
    EXPECT_EQ(defaults->strings["cameraStyle"], "cutout");
}

}  // namespace
}  // namespace cobaltreel
