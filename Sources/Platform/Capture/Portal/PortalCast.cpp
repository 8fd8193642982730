#include "Platform/Capture/Portal/PortalCast.hpp"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {

namespace {

const QString screenCast = QStringLiteral("org.freedesktop.portal.ScreenCast");

/// Every code below 20 is a failure.
constexpr int portalFailed = 10;

struct Pair {
    int first = 0;
    int second = 0;
};

std::optional<Pair> pairIn(const QVariantMap& properties, const QString& name) {
    const QVariant value = properties.value(name);
    if (!value.canConvert<QDBusArgument>()) return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(ii)")) return std::nullopt;
    Pair pair;
    argument.beginStructure();
    argument >> pair.first >> pair.second;
    argument.endStructure();
    return pair;
}

/// The first of the portal's streams, a(ua{sv}).
std::optional<std::pair<uint, QVariantMap>> streamIn(const QVariantMap& results) {
    const QVariant value = results.value(QStringLiteral("streams"));
    if (!value.canConvert<QDBusArgument>()) return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("a(ua{sv})")) return std::nullopt;
    std::optional<std::pair<uint, QVariantMap>> first;
    argument.beginArray();
    if (!argument.atEnd()) {
        first.emplace();
        argument.beginStructure();
        argument >> first->first >> first->second;
        argument.endStructure();
    }
    argument.endArray();
    return first;
}

/// Pixels per point, such that so many points make exactly so many whole pixels when cut off.
double scaleOf(int pixels, double points) {
    double scale = pixels / points;
    if (static_cast<int>(points * scale) < pixels) scale = std::nextafter(scale, scale + 1);
    return scale;
}

}  // namespace

PortalCast::PortalCast(std::shared_ptr<PortalBus> bus, std::shared_ptr<MainLoop> mainLoop,
                       std::shared_ptr<CastScreen> screen)
    : bus_(std::move(bus)), mainLoop_(std::move(mainLoop)), screen_(std::move(screen)) {
    connect(bus_.get(), &PortalBus::ended, this, [this] {
        if (stream_)
            stream_->end({"ScreenCapture", portalFailed,
                          "The desktop portal has ended, and with it the sharing of the screen."});
    });
}

PortalCast::~PortalCast() {
    stream_.reset();
    screen_->setPlace(std::nullopt);
    if (!session_.isEmpty()) bus_->closeSession(session_);
}

void PortalCast::open(const CastWish& wish, Opened opened) {
    wish_ = wish;
    opened_ = std::move(opened);
    bus_->request(screenCast, QStringLiteral("CreateSession"), {},
                  {{QStringLiteral("session_handle_token"), PortalBus::newToken()}},
                  lifetime_.guard([this](const PortalAnswer& answer) {
                      if (endsWith(answer)) return;
                      session_ = answer.results.value(QStringLiteral("session_handle")).toString();
                      selectSources();
                  }));
}

void PortalCast::selectSources() {
    bus_->watchSession(session_, this, SLOT(sessionClosed()));
    constexpr uint monitors = 1, windows = 2, untilRevoked = 2;
    QVariantMap options{{QStringLiteral("types"), wish_.kind == ContentKind::window ? windows : monitors},
                        {QStringLiteral("multiple"), false},
                        {QStringLiteral("cursor_mode"), wish_.cursorMode}};
    if (wish_.isRemembered) options[QStringLiteral("persist_mode")] = untilRevoked;
    if (!wish_.restoreToken.empty())
        options[QStringLiteral("restore_token")] = QString::fromStdString(wish_.restoreToken);
    bus_->request(screenCast, QStringLiteral("SelectSources"),
                  {QVariant::fromValue(QDBusObjectPath(session_))}, options,
                  lifetime_.guard([this](const PortalAnswer& answer) {
                      if (!endsWith(answer)) start();
                  }));
}

void PortalCast::start() {
    bus_->request(screenCast, QStringLiteral("Start"),
                  {QVariant::fromValue(QDBusObjectPath(session_)), QString()}, {},
                  lifetime_.guard([this](const PortalAnswer& answer) {
                      if (!endsWith(answer)) receive(answer);
                  }));
}

void PortalCast::receive(const PortalAnswer& answer) {
    const auto found = streamIn(answer.results);
    if (!found) {
        finish(PlatformError("ScreenCapture", portalFailed,
                             "The desktop shares the screen, but names no stream."));
        return;
    }
    properties_ = found->second;
    restoreToken_ = answer.results.value(QStringLiteral("restore_token")).toString().toStdString();
    bus_->openRemote(session_, lifetime_.guard([this, node = found->first](UniqueFd remote) {
        if (!remote) {
            finish(PlatformError(
                "ScreenCapture", portalFailed,
                "The desktop shares the screen, but its media server PipeWire does not answer."));
            return;
        }
        const auto came =
            lifetime_.guard([this](const std::optional<PlatformError>& error) { pictureCame(error); });
        try {
            stream_ = std::make_unique<pipewire::CastStream>(
                std::move(remote), node, wish_.kind, screen_,
                pipewire::CastStream::Events{
                    [came, loop = mainLoop_](const std::optional<PlatformError>& error) {
                        loop->post([came, error] { came(error); });
                    },
                    [listener = listener_](const PlatformError& error) {
                        std::function<void(const PlatformError&)> ended;
                        {
                            const std::lock_guard lock(listener->mutex);
                            ended = std::exchange(listener->ended, nullptr);
                            if (!ended) listener->early = error;
                        }
                        if (ended) ended(error);
                    }});
        } catch (const PlatformError& error) {
            finish(error);
        }
    }));
}

void PortalCast::pictureCame(const std::optional<PlatformError>& error) {
    if (error) return finish(error);
    const auto [width, height] = stream_->size();
    const auto position = pairIn(properties_, QStringLiteral("position")).value_or(Pair{});
    const auto points = pairIn(properties_, QStringLiteral("size"));
    place_.isWindow = wish_.kind == ContentKind::window;
    place_.displayID = 1;
    place_.frame = {0, 0, static_cast<double>(width), static_cast<double>(height)};
    place_.scale = 1;
    // A window's size is not told; counted in pixels it is as good.
    if (!place_.isWindow && points && points->first > 0 && points->second > 0) {
        place_.frame = {static_cast<double>(position.first), static_cast<double>(position.second),
                        static_cast<double>(points->first), static_cast<double>(points->second)};
        place_.scale = scaleOf(static_cast<int>(width), place_.frame.w);
    }
    screen_->setPlace(place_);
    finish(std::nullopt);
}

void PortalCast::sessionClosed() {
    session_.clear();
    const PlatformError error("ScreenCapture", sharingEnded,
                              "The sharing of the screen was ended in the desktop.");
    if (stream_)
        stream_->end(error);
    else
        finish(error);
}

bool PortalCast::endsWith(const PortalAnswer& answer) {
    using Outcome = PortalAnswer::Outcome;
    if (answer.outcome == Outcome::done) return false;
    if (answer.outcome == Outcome::cancelled)
        finish(PlatformError("ScreenCapture", choiceCancelled, "Nothing was chosen to be recorded."));
    else
        finish(PlatformError("ScreenCapture", choiceRefused,
                             "The desktop does not share the screen" +
                                 (answer.reason.empty() ? "" : ": " + answer.reason) +
                                 (answer.reason.ends_with('.') ? "" : ".") +
                                 " Allow it in the desktop's settings, or start again and choose a screen."));
    return true;
}

void PortalCast::finish(std::optional<PlatformError> error) {
    if (const auto opened = std::exchange(opened_, nullptr)) opened(std::move(error));
}

void PortalCast::setEnded(std::function<void(const PlatformError&)> ended) {
    std::optional<PlatformError> early;
    {
        const std::lock_guard lock(listener_->mutex);
        if (ended) early = std::exchange(listener_->early, std::nullopt);
        if (!early) listener_->ended = std::move(ended);
    }
    if (early) ended(*early);
}

}  // namespace platform
