#include "Fakes/FakeCapture.hpp"
#include "Platform/Capture/PipeWire/PipeWireDeviceAccess.hpp"

#include <gtest/gtest.h>

namespace platform {

TEST(DeviceAccessTest, IsDeniedOnlyWhereThereAreDevicesThatNobodyOffers) {
    using Hardware = PipeWireDeviceAccess::Hardware;
    const CaptureDevice camera{"cam", "Camera", MediaType::video};
    struct Case {
        Hardware hardware;
        bool offered;
        AuthorizationStatus expected;
    };
    const Case cases[]{
        {Hardware::absent, false, AuthorizationStatus::authorized},
        {Hardware::allowed, false, AuthorizationStatus::authorized},
        {Hardware::forbidden, true, AuthorizationStatus::authorized},
        {Hardware::forbidden, false, AuthorizationStatus::denied},
    };
    for (const Case& c : cases) {
        const auto capture = std::make_shared<FakeCaptureService>();
        if (c.offered) capture->fakeDevices.cameras = {camera};
        PipeWireDeviceAccess access(capture, [&](MediaType) { return c.hardware; });
        EXPECT_EQ(access.authorizationStatus(MediaType::video), c.expected);
        int answers = 0;
        access.requestAccess(MediaType::video, [&](bool granted) {
            ++answers;
            EXPECT_EQ(granted, c.expected == AuthorizationStatus::authorized);
        });
        EXPECT_EQ(answers, 1);
    }
}

}  // namespace platform
