#include "Platform/Capture/Xcb/XcbScreenCaptureService.hpp"

#include "Platform/Capture/Xcb/ContentReader.hpp"
#include "Platform/Capture/Xcb/DisplaySource.hpp"
#include "Platform/Capture/Xcb/WindowSource.hpp"
#include "Platform/Capture/Xcb/X11CaptureStream.hpp"

#include <utility>

namespace platform {

namespace {

std::unique_ptr<CaptureSource> makeSource(XcbConnection& connection, const DisplayContentFilter& filter,
                                          const StreamConfiguration& configuration) {
    return std::make_unique<DisplaySource>(connection, filter, configuration);
}

std::unique_ptr<CaptureSource> makeSource(XcbConnection& connection, const WindowContentFilter& filter,
                                          const StreamConfiguration& configuration) {
    return std::make_unique<WindowSource>(connection, filter, configuration);
}

}  // namespace

XcbScreenCaptureService::XcbScreenCaptureService(std::string displayName, std::string ownBundleIdentifier)
    : displayName_(std::move(displayName)), ownBundleIdentifier_(std::move(ownBundleIdentifier)) {}

ShareableContent XcbScreenCaptureService::shareableContent() {
    XcbConnection connection(displayName_);
    requireKnownPixels(connection);
    return readShareableContent(connection, ownBundleIdentifier_);
}

std::unique_ptr<CaptureStream> XcbScreenCaptureService::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::function<void(const PlatformError&)> onStopped) {
    if (configuration.width <= 0 || configuration.height <= 0 ||
        configuration.pixelFormat != PixelFormat::bgra)
        throw PlatformError("ScreenCapture", badConfiguration,
                            "The screen is recorded as BGRA pictures of a positive size.");
    return std::make_unique<X11CaptureStream>(
        displayName_, configuration,
        [filter](XcbConnection& own, const StreamConfiguration& wanted) {
            return std::visit([&](const auto& each) { return makeSource(own, each, wanted); }, filter);
        },
        std::move(onStopped));
}

}  // namespace platform
