#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/PipeWire/CastStream.hpp"
#include "Platform/Desktop/CastScreen.hpp"
#include "Platform/Desktop/Portal/PortalBus.hpp"
#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform {

/// What to ask the portal for.
struct CastWish {
    ContentKind kind = ContentKind::display;
    uint cursorMode = 1;        ///< of the portal: 1 hidden, 2 embedded, 4 as metadata
    std::string restoreToken;   ///< of an earlier choice; empty to be asked
    bool isRemembered = false;  ///< the portal gives a token for the next time
};

/// One screen or window that the user shares through the desktop portal: its session there, and its pictures.
/// Ends the session when it goes. Main thread.
class PortalCast final : public QObject {
    Q_OBJECT

  public:
    /// No error: a picture is at hand.
    using Opened = std::function<void(std::optional<PlatformError>)>;

    PortalCast(std::shared_ptr<PortalBus> bus, std::shared_ptr<MainLoop> mainLoop,
               std::shared_ptr<CastScreen> screen);
    ~PortalCast() override;

    /// Asks the user and waits for the first picture, without blocking. `opened` is called once, in a later
    /// turn, unless this object goes before.
    void open(const CastWish& wish, Opened opened);

    // Once open.
    const CastScreen::Place& place() const { return place_; }
    pipewire::Size size() const { return stream_->size(); }
    /// For the next time; empty when the desktop does not remember.
    const std::string& restoreToken() const { return restoreToken_; }
    pipewire::CastStream& stream() { return *stream_; }
    /// Told once, on any thread, when the cast ends by itself; empty for nobody.
    void setEnded(std::function<void(const PlatformError&)> ended);

  private:
    Q_SLOT void sessionClosed();

    void selectSources();
    void start();
    void receive(const PortalAnswer& answer);
    void pictureCame(const std::optional<PlatformError>& error);
    /// True, and the opening has ended, unless the answer is a good one.
    bool endsWith(const PortalAnswer& answer);
    void finish(std::optional<PlatformError> error);

    /// What the stream's thread tells; it may outlive this object by a moment.
    struct Listener {
        std::mutex mutex;
        std::function<void(const PlatformError&)> ended;
        std::optional<PlatformError> early;  // before anyone listened
    };

    std::shared_ptr<PortalBus> bus_;
    std::shared_ptr<MainLoop> mainLoop_;
    std::shared_ptr<CastScreen> screen_;
    std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
    CastWish wish_;
    Opened opened_;
    QString session_;
    QVariantMap properties_;  // of the stream
    CastScreen::Place place_;
    std::string restoreToken_;
    std::unique_ptr<pipewire::CastStream> stream_;
    Lifetime lifetime_;
};

}  // namespace platform
