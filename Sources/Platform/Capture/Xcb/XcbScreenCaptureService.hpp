#pragma once

#include "Platform/Capture/CaptureStream.hpp"

#include <string>

namespace platform {

/// Screen capture of an X11 session. Keeps no connection; each call and each stream makes its own. Safe on
/// any thread.
class XcbScreenCaptureService final : public ScreenCaptureService {
  public:
    /// An empty display name means $DISPLAY. With `ownBundleIdentifier` this very process is always among
    /// the applications, under that identifier, also while it shows no window.
    explicit XcbScreenCaptureService(std::string displayName = {}, std::string ownBundleIdentifier = {});

    Traits traits() const override { return {}; }
    void requestContent(ContentKind, std::uint32_t, Granted done) override { done(std::nullopt, nullptr); }
    ShareableContent shareableContent() override;
    std::unique_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const StreamConfiguration& configuration,
                                              std::function<void(const PlatformError&)> onStopped) override;
    std::string implementation() const override { return "X11 (MIT-SHM, Damage, Composite)"; }

  private:
    std::string displayName_;
    std::string ownBundleIdentifier_;
};

}  // namespace platform
