#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/UserDefaults.hpp"

#include <map>
#include <memory>
#include <mutex>

namespace platform {

class PortalCast;
struct CastWish;

/// Screen capture of a Wayland session: the desktop portal asks the user and hands over a stream of pictures.
/// Streams and choices on the main thread, the content on any.
class PortalScreenCapture final : public ScreenCaptureService {
  public:
    /// `screen` tells the rest of the program of what is shared; `defaults` remember by which token the
    /// desktop knows the user's last choice.
    PortalScreenCapture(std::shared_ptr<PortalBus> bus, std::shared_ptr<MainLoop> mainLoop,
                        std::shared_ptr<CastScreen> screen, std::shared_ptr<UserDefaults> defaults);
    ~PortalScreenCapture() override;

    Traits traits() const override { return {true, false}; }
    void requestContent(ContentKind kind, std::uint32_t contentID, Granted done) override;
    ShareableContent shareableContent() override;
    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const StreamConfiguration& configuration,
                                              std::function<void(const PlatformError&)> onStopped) override;
    std::string implementation() const override;

    /// The stand-in for what was chosen last, at first for a choice; and, later, the one for another choice.
    static constexpr std::uint32_t usualID = 1;
    static constexpr std::uint32_t anewID = 2;

  private:
    class Grant;

    /// Throws PlatformError, naming what to install, when there is no portal that shares the screen.
    /// The answer is kept.
    QVariantMap requirePortal();
    void open(const CastWish& wish);
    void remember(ContentKind kind, const std::string& token);

    std::shared_ptr<PortalBus> bus_;
    std::shared_ptr<MainLoop> mainLoop_;
    std::shared_ptr<CastScreen> screen_;
    std::shared_ptr<UserDefaults> defaults_;
    std::shared_ptr<PortalCast> opening_;
    Granted waiting_;
    std::weak_ptr<Grant> grant_;

    std::mutex mutex_;
    std::optional<QVariantMap> portal_;
    std::map<ContentKind, std::string> tokens_;
    std::weak_ptr<ShareableContent> grantedContent_;
};

}  // namespace platform
