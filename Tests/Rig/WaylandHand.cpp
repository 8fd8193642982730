#include "Rig/Hand.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

namespace rig {
namespace {

int codeOf(int button) {
    switch (button) {
        case 1:
            return BTN_LEFT;
        case 2:
            return BTN_MIDDLE;
        case 3:
            return BTN_RIGHT;
        default:
            return BTN_SIDE + button - 8;
    }
}

class WaylandHand final : public Hand {
  public:
    WaylandHand() {
        if (const char* pipe = std::getenv("COBALTREEL_POINTER_DEVICES"))
            mouse_ = open(pipe, O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    }
    ~WaylandHand() override {
        if (mouse_ >= 0) close(mouse_);
    }
    WaylandHand(const WaylandHand&) = delete;
    WaylandHand& operator=(const WaylandHand&) = delete;

    void place(int x, int y) override { call("Move", {static_cast<double>(x), static_cast<double>(y)}); }
    void press(int button, bool down) override {
        std::array<input_event, 2> events{};
        events[0].type = EV_KEY;
        events[0].code = static_cast<std::uint16_t>(codeOf(button));
        events[0].value = down ? 1 : 0;
        events[1].type = EV_SYN;
        if (mouse_ >= 0 && write(mouse_, events.data(), sizeof events) < 0)
            std::perror("RigPointer: the mouse's pipe");
        call("Button", {codeOf(button), down});
    }
    Place where() override {
        const QVariantList answer = call("Where");
        return {answer.value(0).toInt(), answer.value(1).toInt()};
    }
    /// Of the windows of XWayland: others do not tell.
    Place contentOf(unsigned window) override { return makeX11Hand()->contentOf(window); }

  private:
    static QVariantList call(const char* what, const QVariantList& arguments = {}) {
        auto message = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.impl.portal.desktop.rig"), QStringLiteral("/rig"),
            QStringLiteral("com.pellanor.cobaltreel.Rig"), QString::fromLatin1(what));
        message.setArguments(arguments);
        const auto reply = QDBusConnection::sessionBus().call(message);
        if (reply.type() != QDBusMessage::ErrorMessage) return reply.arguments();
        std::fprintf(stderr, "RigPointer: %s\n", qPrintable(reply.errorMessage()));
        std::exit(1);
    }

    int mouse_ = -1;
};

}  // namespace

std::unique_ptr<Hand> makeWaylandHand() { return std::make_unique<WaylandHand>(); }

std::unique_ptr<Hand> makeHand() {
    const char* const session = std::getenv("XDG_SESSION_TYPE");
    const bool isWayland = session != nullptr && std::string_view(session) == "wayland";
    return isWayland ? makeWaylandHand() : makeX11Hand();
}

}  // namespace rig
