#include "Platform/Capture/Portal/PortalScreenCapture.hpp"

#include "Platform/Capture/Portal/PortalCast.hpp"

#include <utility>

namespace platform {

namespace {

const QString portalInterface = QStringLiteral("org.freedesktop.portal.ScreenCast");
constexpr int answerMilliseconds = 5000;  // the bus may have to start the portal first
constexpr uint hiddenCursor = 1, embeddedCursor = 2, cursorAsMetadata = 4, windowSources = 2;
constexpr uint remembersSince = 4;  // version of the portal
constexpr int portalMissing = 11, portalLacks = 12, notGranted = 13;

std::string tokenKey(ContentKind kind) {
    return kind == ContentKind::window ? "screenCastToken.window" : "screenCastToken.display";
}

uint numberIn(const QVariantMap& properties, const char* name) {
    return properties.value(QString::fromLatin1(name)).toUInt();
}

/// Metadata before embedded: only with the first is it known where the pointer is.
uint bestCursorMode(uint offered) {
    if ((offered & cursorAsMetadata) != 0) return cursorAsMetadata;
    return (offered & embeddedCursor) != 0 ? embeddedCursor : hiddenCursor;
}

class PortalStream final : public CaptureStream {
  public:
    PortalStream(std::shared_ptr<PortalCast> cast, const StreamConfiguration& configuration,
                 std::function<void(const PlatformError&)> onStopped)
        : cast_(std::move(cast)), configuration_(configuration), onStopped_(std::move(onStopped)) {}
    ~PortalStream() override {
        cast_->setEnded({});
        cast_->stream().stop();
    }

    void addOutput(StreamOutputType type, SerialQueue& queue, OutputHandler handler) override {
        output_.add(type, queue, std::move(handler));
    }
    void startCapture(std::function<void(std::optional<PlatformError>)> done) override {
        cast_->setEnded(onStopped_);
        cast_->stream().start(configuration_, output_);
        done(std::nullopt);
    }
    void stopCapture(std::function<void(std::optional<PlatformError>)> done) override {
        cast_->setEnded({});
        cast_->stream().stop();
        done(std::nullopt);
    }

  private:
    std::shared_ptr<PortalCast> cast_;
    StreamConfiguration configuration_;
    std::function<void(const PlatformError&)> onStopped_;
    FrameOutput output_;
};

}  // namespace

class PortalScreenCapture::Grant final : public ContentGrant {
  public:
    Grant(std::shared_ptr<PortalCast> made, ContentKind kind)
        : cast(std::move(made)), content(std::make_shared<ShareableContent>()) {
        const CastScreen::Place& place = cast->place();
        if (kind == ContentKind::window)
            content->windows.push_back({usualID, {}, place.frame, true, std::nullopt});
        else
            content->displays.push_back({usualID, {}, place.frame, place.scale, true});
    }

    const std::shared_ptr<PortalCast> cast;
    /// Shared with whoever reads it, so that the cast ends on the main thread.
    const std::shared_ptr<ShareableContent> content;
};

PortalScreenCapture::PortalScreenCapture(std::shared_ptr<PortalBus> bus, std::shared_ptr<MainLoop> mainLoop,
                                         std::shared_ptr<CastScreen> screen,
                                         std::shared_ptr<UserDefaults> defaults)
    : bus_(std::move(bus)),
      mainLoop_(std::move(mainLoop)),
      screen_(std::move(screen)),
      defaults_(std::move(defaults)) {
    for (const ContentKind kind : {ContentKind::display, ContentKind::window})
        if (const auto token = defaults_->string(tokenKey(kind)); token && !token->empty())
            tokens_[kind] = *token;
}

PortalScreenCapture::~PortalScreenCapture() = default;

QVariantMap PortalScreenCapture::requirePortal() {
    if (!bus_->connection().isConnected())
        throw PlatformError(
            "ScreenCapture", portalMissing,
            "There is no session bus, and on Wayland the screen is shared through it. Start Cobaltreel "
            "from the desktop, not from a bare terminal.");
    {
        const std::lock_guard lock(mutex_);
        if (portal_) return *portal_;
    }
    auto properties = bus_->properties(portalInterface, answerMilliseconds);
    // Without a part that serves this desktop the portal is there, and shares nothing.
    if (!properties || numberIn(*properties, "AvailableSourceTypes") == 0)
        throw PlatformError(
            "ScreenCapture", portalLacks,
            "This Wayland desktop has no portal that shares the screen. Install xdg-desktop-portal with "
            "the part for your desktop: xdg-desktop-portal-gnome, -kde or -wlr; then log in again.");
    const std::lock_guard lock(mutex_);
    portal_ = properties;
    return *std::move(properties);
}

ShareableContent PortalScreenCapture::shareableContent() {
    std::map<ContentKind, std::string> tokens;
    {
        const std::lock_guard lock(mutex_);
        if (const auto granted = grantedContent_.lock()) return *granted;
        tokens = tokens_;
    }
    const QVariantMap portal = requirePortal();
    // Sizes are known once something has been chosen; these only say that it is large enough to be offered.
    const Rect unknown{0, 0, 1920, 1080};
    ShareableContent content;
    const auto isKnown = [&](ContentKind kind) { return tokens.contains(kind); };
    const auto usual = [&](ContentKind kind) { return isKnown(kind) ? Offer::lastChoice : Offer::chooser; };
    content.displays.push_back({usualID, {}, unknown, 1, true, usual(ContentKind::display)});
    if (isKnown(ContentKind::display))
        content.displays.push_back({anewID, {}, unknown, 1, false, Offer::chooser});
    if ((numberIn(portal, "AvailableSourceTypes") & windowSources) == 0) return content;
    content.windows.push_back({usualID, {}, unknown, true, std::nullopt, usual(ContentKind::window)});
    if (isKnown(ContentKind::window))
        content.windows.push_back({anewID, {}, unknown, true, std::nullopt, Offer::chooser});
    return content;
}

void PortalScreenCapture::requestContent(ContentKind kind, std::uint32_t contentID, Granted done) {
    if (const auto earlier = std::exchange(waiting_, nullptr)) {
        opening_.reset();
        earlier(PlatformError("ScreenCapture", choiceCancelled, "Another choice was begun."), nullptr);
    }
    QVariantMap portal;
    try {
        portal = requirePortal();
        if (kind == ContentKind::window && (numberIn(portal, "AvailableSourceTypes") & windowSources) == 0)
            throw PlatformError(
                "ScreenCapture", portalLacks,
                "This desktop shares whole displays only. Record the display instead of a window.");
    } catch (const PlatformError& error) {
        done(error, nullptr);
        return;
    }
    CastWish wish;
    wish.kind = kind;
    wish.cursorMode = bestCursorMode(numberIn(portal, "AvailableCursorModes"));
    wish.isRemembered = numberIn(portal, "version") >= remembersSince;
    if (contentID == usualID) {
        const std::lock_guard lock(mutex_);
        if (const auto known = tokens_.find(kind); known != tokens_.end()) wish.restoreToken = known->second;
    }
    waiting_ = std::move(done);
    open(wish);
}

void PortalScreenCapture::open(const CastWish& wish) {
    opening_ = std::make_shared<PortalCast>(bus_, mainLoop_, screen_);
    opening_->open(wish, [this, wish](const std::optional<PlatformError>& error) {
        const auto cast = std::exchange(opening_, nullptr);
        if (error && error->code() == choiceRefused && !wish.restoreToken.empty()) {
            // The desktop no longer knows that choice, so the user chooses again.
            remember(wish.kind, {});
            CastWish anew = wish;
            anew.restoreToken.clear();
            open(anew);
            return;
        }
        const auto done = std::exchange(waiting_, nullptr);
        if (error) return done(error, nullptr);
        remember(wish.kind, cast->restoreToken());
        const auto grant = std::make_shared<Grant>(cast, wish.kind);
        grant_ = grant;
        {
            const std::lock_guard lock(mutex_);
            grantedContent_ = grant->content;
        }
        done(std::nullopt, grant);
    });
}

void PortalScreenCapture::remember(ContentKind kind, const std::string& token) {
    defaults_->setString(tokenKey(kind), token);
    const std::lock_guard lock(mutex_);
    if (token.empty())
        tokens_.erase(kind);
    else
        tokens_[kind] = token;
}

std::unique_ptr<CaptureStream> PortalScreenCapture::makeStream(
    const ContentFilter&, const StreamConfiguration& configuration,
    std::function<void(const PlatformError&)> onStopped) {
    const std::shared_ptr<Grant> grant = grant_.lock();
    if (!grant)
        throw PlatformError("ScreenCapture", notGranted,
                            "Nothing has been chosen in the desktop's dialog to be recorded. Start again.");
    if (configuration.width <= 0 || configuration.height <= 0 ||
        configuration.pixelFormat != PixelFormat::bgra)
        throw PlatformError("ScreenCapture", notGranted,
                            "The screen is recorded as BGRA pictures of a positive size.");
    return std::make_unique<PortalStream>(grant->cast, configuration, std::move(onStopped));
}

std::string PortalScreenCapture::implementation() const {
    const auto portal = bus_->properties(portalInterface, answerMilliseconds);
    if (!portal) return "Wayland (xdg-desktop-portal)";
    const uint mode = bestCursorMode(numberIn(*portal, "AvailableCursorModes"));
    return "Wayland (xdg-desktop-portal, ScreenCast " + std::to_string(numberIn(*portal, "version")) +
           ", pointer " +
           (mode == cursorAsMetadata ? "as metadata"
            : mode == embeddedCursor ? "embedded"
                                     : "hidden") +
           ")";
}

}  // namespace platform
