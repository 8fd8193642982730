#pragma once

#include "Platform/Capture/Portal/PortalScreenCapture.hpp"
#include "Platform/Capture/Recording.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Evdev/EvdevButtons.hpp"
#include "Platform/Desktop/Portal/CastDesktop.hpp"
#include "Platform/Foundation/InMemoryUserDefaults.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"
#include "Rig/QtEventually.hpp"
#include "Rig/WaylandPerson.hpp"

#include <memory>
#include <optional>

#include <gtest/gtest.h>

namespace platform::test {

using rig::callPerson;

/// The services of a Wayland session.
struct PortalServices {
    std::shared_ptr<QtMainLoop> mainLoop = std::make_shared<QtMainLoop>();
    std::shared_ptr<PortalBus> bus = std::make_shared<PortalBus>();
    std::shared_ptr<CastScreen> screen = std::make_shared<CastScreen>();
    std::shared_ptr<InMemoryUserDefaults> defaults = std::make_shared<InMemoryUserDefaults>();
    std::shared_ptr<EvdevButtons> buttons =
        std::make_shared<EvdevButtons>("/nowhere", EvdevButtons::streamsOfEnvironment());
    CastDesktop desktop{screen, buttons, std::make_shared<HostClock>()};
    PortalScreenCapture capture{bus, mainLoop, screen, defaults};

    /// Asks the user and waits for the answer.
    std::optional<PlatformError> choose(ContentKind kind, std::uint32_t contentID,
                                        std::shared_ptr<ContentGrant>& to) {
        bool isAnswered = false;
        std::optional<PlatformError> failure;
        capture.requestContent(kind, contentID, [&](std::optional<PlatformError> error, auto grant) {
            isAnswered = true;
            failure = std::move(error);
            to = std::move(grant);
        });
        EXPECT_TRUE(cobaltreel::eventually([&] { return isAnswered; }));
        return failure;
    }
};

/// A running stream of what was chosen.
struct Take : Recording {
    Take(PortalServices& services, const ContentFilter& filter, int width = 1280, int height = 720)
        : Recording(services.capture, filter, configurationFor(width, height), {}, cobaltreel::runQtEvents) {}
};

}  // namespace platform::test
