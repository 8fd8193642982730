#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/OnboardingWindow/OnboardingWindow.hpp"
#include "Cobaltreel/UI/QmlScene.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeShellServices.hpp"
#include "Fakes/VirtualTime.hpp"
#include "Rig/QtEventually.hpp"

#include <QAccessible>
#include <QTest>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using platform::AuthorizationStatus;
using testing::ElementsAre;

class OnboardingTest : public LocalisedTest {
  protected:
    OnboardingTest() {
        screen_->granted = false;
        devices_->camera = devices_->microphone = AuthorizationStatus::denied;
        window_.open();
    }

    /// What can be pressed now, from the top and from the left, as it is announced.
    std::vector<QQuickItem*> buttons() const {
        std::vector<QQuickItem*> found;
        collect(window_.window()->rootObject(), found);
        std::sort(found.begin(), found.end(), [](QQuickItem* a, QQuickItem* b) {
            const QPointF one = a->mapToScene({}), other = b->mapToScene({});
            return one.y() != other.y() ? one.y() < other.y() : one.x() < other.x();
        });
        return found;
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (const auto* button : buttons()) all.push_back(button->property("text").toString().toStdString());
        return all;
    }
    void click(std::size_t index) {
        QQuickItem* const button = buttons().at(index);
        QTest::mouseClick(window_.window(), Qt::LeftButton, {},
                          button->mapToScene(button->boundingRect().center()).toPoint());
    }

    std::shared_ptr<platform::VirtualTime> time_ = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeScreenAccess> screen_ = std::make_shared<platform::FakeScreenAccess>();
    std::shared_ptr<platform::FakeDeviceAccess> devices_ = std::make_shared<platform::FakeDeviceAccess>();
    std::shared_ptr<platform::FakeSystemSettings> settings_ =
        std::make_shared<platform::FakeSystemSettings>();
    std::shared_ptr<platform::FakeRelauncher> relauncher_ = std::make_shared<platform::FakeRelauncher>();
    int quits_ = 0;
    Permissions permissions_{{time_, screen_, devices_, settings_, relauncher_, [this] { ++quits_; }}};
    OnboardingWindow window_{permissions_, time_};

  private:
    static void collect(QQuickItem* item, std::vector<QQuickItem*>& found) {
        if (!item->isVisible()) return;
        if (item->property("text").isValid() && item->metaObject()->indexOfSignal("clicked()") >= 0)
            found.push_back(item);
        for (QQuickItem* child : item->childItems()) collect(child, found);
    }
};

TEST_F(OnboardingTest, EachCardOffersWhatGrantsItsPermission) {
    EXPECT_EQ(window_.window()->size(), QSize(560, 260));
    EXPECT_THAT(texts(), ElementsAre("Allow", "Open System Settings", "Relaunch", "Allow",
                                     "Open System Settings", "Allow", "Open System Settings"));
    click(0);
    EXPECT_EQ(screen_->requests, 1);
    click(3);
    click(5);
    EXPECT_THAT(devices_->requests, ElementsAre(platform::MediaType::video, platform::MediaType::audio));
    for (const std::size_t button : {1, 4, 6}) click(button);
    EXPECT_THAT(settings_->opened,
                ElementsAre("Privacy_ScreenCapture", "Privacy_Camera", "Privacy_Microphone"));
    click(2);
    EXPECT_EQ(relauncher_->relaunches, 1);
    EXPECT_EQ(quits_, 1);
}

TEST_F(OnboardingTest, AnAnswerIsSeenAtOnceAndWhatIsGrantedElsewhereWithinTwoSeconds) {
    devices_->microphone = AuthorizationStatus::authorized;
    click(5);
    EXPECT_EQ(texts().size(), 7U) << "the answer comes on any thread";
    time_->drain();
    EXPECT_THAT(texts(),
                ElementsAre("Allow", "Open System Settings", "Relaunch", "Allow", "Open System Settings"));
    screen_->granted = true;
    devices_->camera = AuthorizationStatus::authorized;
    EXPECT_EQ(texts().size(), 5U);
    time_->advance(2);
    EXPECT_TRUE(texts().empty());

    // Closed, it looks no longer.
    window_.window()->close();
    screen_->granted = false;
    time_->advance(10);
    EXPECT_TRUE(permissions_.screenGranted());
    window_.open();
    EXPECT_EQ(texts().size(), 3U);
}

TEST_F(OnboardingTest, WhatToDoIsSaidWhereNoButtonCanHelp) {
    settings_->isInstalled = false;
    click(4);
    const QString hint = permissions_.hint();
    EXPECT_TRUE(hint.contains(S::screenHint()) && hint.contains(S::devicesHint()) &&
                hint.contains(S::settingsMissing()));
    Permissions onWayland(
        {time_, screen_, devices_, settings_, relauncher_, [] {}, platform::SessionType::wayland});
    EXPECT_TRUE(onWayland.hint().contains("xdg-desktop-portal"));
    EXPECT_TRUE(eventually([&] { return window_.window()->height() > 260; })) << "there is room for it";
    screen_->granted = true;
    devices_->camera = devices_->microphone = AuthorizationStatus::authorized;
    time_->advance(2);
    EXPECT_EQ(permissions_.hint(), "");
}

}  // namespace
}  // namespace cobaltreel
