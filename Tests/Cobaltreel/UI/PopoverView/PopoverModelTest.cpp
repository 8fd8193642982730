// The panel's model over a coordinator among fakes, in virtual time.
#include "Cobaltreel/Capture/CoordinatorHarness.hpp"
#include "Cobaltreel/UI/PopoverView/PopoverModel.hpp"

namespace cobaltreel {
namespace {

class PopoverModelTest : public CoordinatorTest {
  protected:
    ~PopoverModelTest() override { model.reset(); }

    void appear() {
        model->appear();
        ASSERT_TRUE(eventually([&] { return bubble->isShown; }));
    }
    /// How often the preview is started by a change of the coordinator's.
    template <typename Change>
    int restartsBy(Change change) {
        const int before = bubble->shows;
        change(*coordinator);
        time->drain();
        return bubble->shows - before;
    }

    std::unique_ptr<PopoverModel> model = std::make_unique<PopoverModel>(*coordinator, time, time);
};

QStringList titles(const Picker& picker) {
    QStringList all;
    for (const QVariant& item : picker.items) all.append(item.toMap().value("title").toString());
    return all;
}

TEST_F(PopoverModelTest, NamesWhatThereIsToChooseFrom) {
    EXPECT_EQ(model->currentDisplayName(), "Full Screen");
    EXPECT_EQ(model->currentWindowName(), "Window");
    EXPECT_EQ(model->currentCameraName(), "Camera");
    EXPECT_EQ(model->currentMicName(), "Microphone");

    auto& content = screenCapture->content;
    content.displays[0].name = "Built-in";
    content.windows = {window(1, {0, 0, 400, 400}), window(2, {0, 0, 400, 400}), window(3, {0, 0, 400, 400})};
    content.windows[1].title.clear();
    content.windows[2].owningApplication.reset();
    capture->fakeDevices.cameras.push_back({"cam2", "Other camera", platform::MediaType::video});
    choose();
    EXPECT_EQ(titles(model->display()), QStringList({"Built-in (1512×982)", "Display 2 — 1920×1080"}));
    EXPECT_EQ(titles(model->window()), QStringList({"Editor — Window 1", "Editor — ", "? — Window 3"}));
    EXPECT_EQ(titles(model->camera()), QStringList({"Camera", "Other camera"}));
    EXPECT_EQ(titles(model->mic()), QStringList({"Microphone", "Headset"}));

    model->chooseDisplay(22);
    model->chooseWindow(2);
    model->chooseCamera("cam2");
    model->chooseMic("mic");
    EXPECT_EQ(model->currentDisplayName(), "Display 2 — 1920×1080");
    EXPECT_EQ(model->currentWindowName(), "Editor — ");
    EXPECT_EQ(model->currentCameraName(), "Other camera");
    EXPECT_EQ(model->currentMicName(), "Microphone");
    EXPECT_EQ(coordinator->selectedCameraID(), "cam2");
}

TEST_F(PopoverModelTest, ThePreviewFollowsTheChoicesWhileThePanelIsShownAndNothingIsRecorded) {
    const auto change = [](RecordingCoordinator& c) { c.setMirrorCamera(!c.mirrorCamera()); };
    EXPECT_EQ(restartsBy(change), 0);
    appear();
    EXPECT_EQ(bubble->shows, 1) << "once, although the devices were chosen on the way";
    EXPECT_THAT(access->requests,
                ::testing::ElementsAre(platform::MediaType::audio, platform::MediaType::video));
    ASSERT_TRUE(eventually([&] { return devices().isRunning(); }));

    using C = RecordingCoordinator;
    EXPECT_EQ(restartsBy(change), 1);
    EXPECT_EQ(restartsBy([](C& c) { c.setCameraStyle(CameraStyle::cutout); }), 1);
    EXPECT_EQ(restartsBy([](C& c) { c.setSelectedMicID("mic"); }), 1);
    EXPECT_EQ(restartsBy([](C& c) { c.setCameraEnabled(false); }), 0);
    EXPECT_FALSE(bubble->isShown);
    EXPECT_EQ(restartsBy([](C& c) { c.setCameraEnabled(true); }), 1);
    EXPECT_EQ(restartsBy([](C& c) { c.setSelectedCameraID("gone"); }), 0);
    EXPECT_FALSE(bubble->isShown);
    EXPECT_EQ(restartsBy([](C& c) { c.setSelectedCameraID("cam"); }), 1);

    EXPECT_EQ(restartsBy([](C& c) { c.setCameraCorner(CameraCorner::topRight); }), 0);
    EXPECT_EQ(bubble->corner, CameraCorner::topRight);
    EXPECT_EQ(restartsBy([](C& c) { c.setBubbleSizeFraction(0.3); }), 0);
    EXPECT_NEAR(bubble->diameter, 0.3 * 982, 1e-9);

    record();
    EXPECT_EQ(restartsBy(change), 0);
    EXPECT_EQ(restartsBy([](C& c) { c.setCameraCorner(CameraCorner::bottomLeft); }), 0);
    EXPECT_EQ(bubble->corner, CameraCorner::topRight) << "it stays where it is";
    model->disappear();
    EXPECT_TRUE(bubble->isShown) << "the recording keeps it";
    stop();

    model->appear();
    ASSERT_TRUE(eventually([&] { return bubble->isShown; }));
    model->disappear();
    EXPECT_FALSE(bubble->isShown);
    EXPECT_EQ(restartsBy(change), 0);
}

TEST_F(PopoverModelTest, APanelThatStaysOpenIsAliveAgainWhenItIsTurnedToAfterARecording) {
    appear();
    for (int take = 0; take < 2; ++take) {
        record();
        stop();
        EXPECT_FALSE(bubble->isShown);
        time->advance(5);
        EXPECT_FALSE(bubble->isShown) << "the user looks at the preview";
        model->turnTo();
        EXPECT_TRUE(eventually([&] { return bubble->isShown; })) << take;
        ASSERT_TRUE(eventually([&] { return devices().isRunning(); }));
        devices().deliverSound(time->now(), 0.04F);
        time->advance(0.06);
        EXPECT_GT(model->micLevel(), 0.1) << take;
    }
    // The preview of the movie opens and the panel closes.
    record();
    stop();
    model->disappear();
    time->advance(1);
    EXPECT_FALSE(bubble->isShown);

    // Closed during the countdown, which is then cancelled.
    appear();
    press();
    model->disappear();
    EXPECT_TRUE(bubble->isShown);
    countdown->cancel();
    ASSERT_TRUE(reaches(State::idle));
    EXPECT_FALSE(bubble->isShown || coordinator->previewActive());
}

TEST_F(PopoverModelTest, WhatIsMissingIsSaidAndADeviceThatComesLaterIsTakenUp) {
    L::current = Language::en;
    const auto all = capture->fakeDevices;
    capture->fakeDevices = {};
    model->appear();
    ASSERT_TRUE(eventually([&] { return coordinator->devicesKnown(); }));
    EXPECT_EQ(model->notice(), S::cameraMissing() + '\n' + S::microphoneMissing());
    model->setCameraEnabled(false);
    EXPECT_EQ(model->notice(), S::microphoneMissing());
    model->setCameraEnabled(true);
    record();
    EXPECT_EQ(model->notice(), S::cameraMissing() + '\n' + S::microphoneMissing());
    stop();
    model->turnTo();
    time->drain();
    capture->changeDevices(all);
    EXPECT_TRUE(eventually([&] { return bubble->isShown; }));
    EXPECT_EQ(model->notice(), "");

    capture->changeDevices(all, platform::PlatformError("Capture", 0, "PipeWire does not answer"));
    model->disappear();
    model->appear();
    EXPECT_TRUE(eventually([&] { return model->notice() == S::mediaServerMissing(); }));
    L::current = Language::he;
}

TEST_F(PopoverModelTest, EachTopicHasALineOfItsOwn) {
    appear();
    model->setNotice(PopoverModel::hotKeyTopic, "The keys are taken.");
    Q_EMIT coordinator->deviceMessage("The camera is gone.", {}, "cam");
    Q_EMIT coordinator->deviceMessage("The microphone is gone.", {}, "mic");
    Q_EMIT coordinator->deviceMessage("The microphone is back.", {}, "mic");
    EXPECT_EQ(model->notice(), "The keys are taken.\nThe camera is gone.\nThe microphone is back.");
    choose();
    EXPECT_TRUE(model->notice().endsWith("The microphone is back.")) << "until the next recording";
    record();
    EXPECT_EQ(model->notice(), "The keys are taken.");
    capture->changeDevices({});
    model->turnTo();
    time->drain();
    EXPECT_FALSE(model->notice().contains(S::microphoneMissing())) << "it is of recordings to come";
    stop();
}

TEST_F(PopoverModelTest, APanelThatIsTurnedToAgainOffersWhatHasBeenOpenedMeanwhile) {
    appear();
    ASSERT_EQ(model->window().items.size(), 2);
    screenCapture->content.windows.push_back(window(103, {0, 0, 800, 600}));
    model->turnTo();
    EXPECT_TRUE(eventually([&] { return model->window().items.size() == 3; }));
    EXPECT_EQ(bubble->shows, 1) << "the preview runs on";
}

TEST_F(PopoverModelTest, HidingGivesTheSetUpUp) {
    access->holdsAnswers = true;
    model->appear();
    ASSERT_TRUE(eventually([&] { return !access->requests.empty(); }));
    model->disappear();
    access->holdsAnswers = false;
    access->answer();
    for (int i = 0; i < 5; ++i) time->drain();
    EXPECT_EQ(bubble->shows, 0);

    // Shown again before the first set-up is over: one preview.
    model->appear();
    model->disappear();
    appear();
    for (int i = 0; i < 5; ++i) time->drain();
    EXPECT_EQ(bubble->shows, 1);
    model->disappear();

    // The model goes in the middle of it.
    access->holdsAnswers = true;
    access->requests.clear();
    model->appear();
    ASSERT_TRUE(eventually([&] { return !access->requests.empty(); }));
    model.reset();
    access->holdsAnswers = false;
    access->answer();
    time->drain();
    EXPECT_EQ(bubble->shows, 1);
}

TEST(VersionEggTest, ThreeTapsWithinASecondShowItForThree) {
    for (const double apart : {0.45, 0.6}) {
        const auto time = std::make_shared<platform::VirtualTime>();
        VersionEgg egg(time, time);
        for (int tap = 0; tap < 3; ++tap) {
            if (tap > 0) time->advance(apart);
            egg.tap();
        }
        EXPECT_EQ(egg.showEgg(), apart < 0.5) << apart;
        time->advance(2.9);
        EXPECT_EQ(egg.showEgg(), apart < 0.5) << apart;
        time->advance(0.2);
        EXPECT_FALSE(egg.showEgg());
    }
}

}  // namespace
}  // namespace cobaltreel
