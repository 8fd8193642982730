#include "Cobaltreel/Support/Hotkey.hpp"
#include "Cobaltreel/Support/Permissions.hpp"
#include "Fakes/FakeDeviceAccess.hpp"
#include "Fakes/FakeKeyGrabber.hpp"
#include "Fakes/FakeShellServices.hpp"
#include "Fakes/VirtualTime.hpp"

#include <memory>
#include <optional>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using platform::AuthorizationStatus;

class PermissionsTest : public ::testing::Test {
  protected:
    std::shared_ptr<platform::VirtualTime> time_ = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeScreenAccess> screen_ = std::make_shared<platform::FakeScreenAccess>();
    std::shared_ptr<platform::FakeDeviceAccess> devices_ = std::make_shared<platform::FakeDeviceAccess>();
    std::shared_ptr<platform::FakeSystemSettings> settings_ =
        std::make_shared<platform::FakeSystemSettings>();
    std::shared_ptr<platform::FakeRelauncher> relauncher_ = std::make_shared<platform::FakeRelauncher>();
    int quits_ = 0;
    std::optional<Permissions> permissions_{
        PermissionServices{time_, screen_, devices_, settings_, relauncher_, [this] { ++quits_; }}};
};

TEST_F(PermissionsTest, AnAnswerRefreshesOnTheMainThreadWhateverItIs) {
    devices_->holdsAnswers = true;
    devices_->microphone = AuthorizationStatus::denied;
    permissions_->requestCamera();
    permissions_->requestMic();
    EXPECT_THAT(devices_->requests,
                testing::ElementsAre(platform::MediaType::video, platform::MediaType::audio));
    devices_->answer();
    EXPECT_FALSE(permissions_->cameraGranted()) << "the main thread's turn has not come";
    time_->drain();
    EXPECT_TRUE(permissions_->cameraGranted());
    EXPECT_FALSE(permissions_->micGranted());

    permissions_->requestCamera();
    permissions_.reset();
    devices_->answer();
    time_->drain();
}

TEST(Hotkey, TakesOptionCommandTwoAndGoesOnWithoutIt) {
    const auto keys = std::make_shared<platform::FakeKeyGrabber>();
    int presses = 0;
    {
        HotkeyManager hotkey(keys);
        hotkey.onPress = [&] { ++presses; };
        EXPECT_FALSE(keys->pressChord());
        EXPECT_TRUE(hotkey.registerChord());
        EXPECT_EQ(keys->chord, (platform::KeyChord{2, true, true, "toggle", "Start or stop a recording"}));
        EXPECT_TRUE(keys->pressChord());
        EXPECT_EQ(presses, 1);
        hotkey.onPress = nullptr;
        EXPECT_TRUE(keys->pressChord());
    }
    EXPECT_FALSE(keys->pressChord());

    keys->refusal = platform::PlatformError("Desktop", 10, "taken");
    EXPECT_FALSE(HotkeyManager(keys).registerChord());
    EXPECT_FALSE(HotkeyManager(nullptr).registerChord());
}

}  // namespace
}  // namespace cobaltreel
