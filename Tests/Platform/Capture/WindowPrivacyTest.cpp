#include "Platform/Capture/CaptureHarness.hpp"
#include "Platform/FakeInput.hpp"
#include "Platform/PrivateServer.hpp"
#include "Platform/Xcb/XcbWindows.hpp"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include <gmock/gmock.h>

namespace platform::test {

namespace {

/// The color of all that is not the recorded window.
constexpr std::uint32_t foreign = 0xff00ff;

struct WindowManager {
    std::string name;
    std::vector<std::string> command;
    bool isCompositing;
};

/// As most toolkits make theirs: without a background, painted by the program a moment after it is asked to.
class SlowlyPaintedWindow {
  public:
    SlowlyPaintedWindow(const std::string& display, const PixelRect& place)
        : connection_(display), id_(xcb_generate_id(connection_.get())) {
        xcb_connection_t* c = connection_.get();
        const std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_create_window(c, XCB_COPY_FROM_PARENT, id_, connection_.root(),
                          static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y),
                          static_cast<std::uint16_t>(place.width), static_cast<std::uint16_t>(place.height),
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 8,
                            "Recorded");
        const std::int32_t hints[18] = {1, place.x, place.y, place.width, place.height};  // USPosition
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, id_, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                            32, 18, hints);
        brush_ = xcb_generate_id(c);
        xcb_create_gc(c, brush_, id_, 0, nullptr);
        xcb_map_window(c, id_);
        xcb_flush(c);
        painter_ = std::thread([this] { paintWhenAsked(); });
    }
    ~SlowlyPaintedWindow() {
        isEnding_ = true;
        painter_.join();
    }
    SlowlyPaintedWindow(const SlowlyPaintedWindow&) = delete;
    SlowlyPaintedWindow& operator=(const SlowlyPaintedWindow&) = delete;

    xcb_window_t id() const { return id_; }
    void setColor(std::uint32_t color) { color_ = color; }
    bool isPainted() const { return paintings_ > 0; }

  private:
    void paintWhenAsked() {
        constexpr std::chrono::milliseconds slowness(40);
        std::uint32_t painted = 0;
        while (!isEnding_ && !connection_.isBroken()) {
            std::this_thread::sleep_for(slowness);
            bool isAsked = painted != color_;
            while (const XcbEvent event{xcb_poll_for_event(connection_.get())})
                isAsked = isAsked || (event->response_type & 0x7f) == XCB_EXPOSE;
            if (!isAsked) continue;
            painted = color_;
            xcb_change_gc(connection_.get(), brush_, XCB_GC_FOREGROUND, &painted);
            const xcb_rectangle_t whole{0, 0, 4000, 4000};
            xcb_poly_fill_rectangle(connection_.get(), id_, brush_, 1, &whole);
            xcb_flush(connection_.get());
            ++paintings_;
        }
    }

    XcbConnection connection_;
    xcb_window_t id_;
    xcb_gcontext_t brush_ = XCB_NONE;
    std::atomic<std::uint32_t> color_{0x206020};
    std::atomic<bool> isEnding_{false};
    std::atomic<int> paintings_{0};
    std::thread painter_;
};

bool isInstalled(const std::string& program) {
    std::stringstream folders(std::getenv("PATH"));
    for (std::string folder; std::getline(folders, folder, ':');)
        if (std::filesystem::exists(std::filesystem::path(folder) / program)) return true;
    return false;
}

class WindowPrivacyTest : public ::testing::TestWithParam<WindowManager> {
  protected:
    void SetUp() override {
        const auto& program = GetParam().command;
        if (!isInstalled(GetParam().name)) GTEST_SKIP() << GetParam().name << " is not installed";
        connection_.emplace(server_.display());
        const std::uint32_t background = foreign;
        xcb_change_window_attributes(connection_->get(), connection_->root(), XCB_CW_BACK_PIXEL, &background);
        xcb_clear_area(connection_->get(), 0, connection_->root(), 0, 0, 0, 0);
        xcb_flush(connection_->get());
        std::vector<std::string> command{"env", "DISPLAY=" + server_.display(), "GSETTINGS_BACKEND=memory",
                                         "dbus-run-session", "--"};
        command.insert(command.end(), program.begin(), program.end());
        manager_.emplace(command);
        ASSERT_TRUE(eventually([this] {
            return !cardinals(*connection_, connection_->root(),
                              connection_->atom("_NET_SUPPORTING_WM_CHECK"))
                        .empty() &&
                   (!GetParam().isCompositing || isComposited(*connection_));
        }));
        ASSERT_TRUE(eventually([this] { return isManaging(); }));
    }
    /// Window managers announce themselves before they look after windows, and what they are asked meanwhile
    /// may lie unread until they hear of something else.
    bool isManaging() {
        const ColorWindow probe(*connection_, 0, 0, 10, 10, {foreign, false, "Probe"});
        xcb_map_window(connection_->get(), probe.id());
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        while (std::chrono::steady_clock::now() < end) {
            xcb_change_property(connection_->get(), XCB_PROP_MODE_REPLACE, connection_->root(),
                                connection_->atom("_COBALTREEL_TEST"), XCB_ATOM_CARDINAL, 32, 0, nullptr);
            if (!cardinals(*connection_, probe.id(), connection_->atom("WM_STATE")).empty()) return true;
        }
        return false;
    }
    void TearDown() override {
        connection_.reset();
        server_.end(SIGTERM);
        if (manager_) manager_->wait();  // it ends with its server
    }

    void ask(xcb_window_t window, const std::string& what, const std::vector<std::uint32_t>& values) {
        sendToManager(*connection_, window, what, values);
    }
    void place(xcb_window_t window, const PixelRect& rect) {
        const std::uint32_t values[] = {
            static_cast<std::uint32_t>(rect.x), static_cast<std::uint32_t>(rect.y),
            static_cast<std::uint32_t>(rect.width), static_cast<std::uint32_t>(rect.height)};
        xcb_configure_window(
            connection_->get(), window,
            XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
            values);
        xcb_flush(connection_->get());
    }

    PrivateServer server_{"1000x700x24"};
    std::optional<XcbConnection> connection_;
    std::optional<rig::ChildProcess> manager_;
};

}  // namespace

TEST_P(WindowPrivacyTest, NoPixelOfAnythingElseIsEverDelivered) {
    XcbScreenCaptureService service(server_.display());
    SlowlyPaintedWindow recorded(server_.display(), {200, 150, 400, 300});
    const auto find = [&]() -> std::optional<Window> {
        for (const Window& each : service.shareableContent().windows)
            if (each.windowID == recorded.id() && each.isOnScreen) return each;
        return std::nullopt;
    };
    ASSERT_TRUE(eventually([&] { return find().has_value(); }));
    ASSERT_TRUE(eventually([&] { return recorded.isPainted(); }));
    ColorWindow cover(*connection_, 0, 0, 500, 400, {foreign, true, "Cover"});
    cover.show();

    std::atomic<std::size_t> foreignPixels{0};
    const Window window = *find();
    StreamConfiguration configuration =
        configurationFor(static_cast<int>(window.frame.w) & ~1, static_cast<int>(window.frame.h) & ~1);
    configuration.showsCursor = false;
    Recording recording(service, WindowContentFilter{window}, configuration,
                        [&](const PixelBuffer& picture, double) {
                            for (int y = 0; y < picture.height(); ++y)
                                for (int x = 0; x < picture.width(); ++x) {
                                    const std::uint32_t color = colorAt(picture, x, y);
                                    // Also as one of several that a fitted picture mixes.
                                    const int red = static_cast<int>(color >> 16), green = color >> 8 & 0xff,
                                              blue = color & 0xff;
                                    if (std::min(red, blue) > green + 60) ++foreignPixels;
                                }
                        });
    ASSERT_EQ(recording.startError(), "");

    std::uint32_t color = 0x206020;
    const auto expectGoingOn = [&](const std::string& step) {
        color = color == 0x206020 ? 0x909020 : 0x206020;
        recorded.setColor(color);
        EXPECT_TRUE(recording.waitForPicture([&](const PixelBuffer& picture) {
            return isNear(colorAt(picture, picture.width() / 2, picture.height() / 2), color);
        })) << step;
        EXPECT_EQ(foreignPixels.exchange(0), 0U) << step;
    };
    expectGoingOn("covered at the start");
    place(recorded.id(), {-150, 500, 400, 300});
    expectGoingOn("half off the screen");
    place(recorded.id(), {200, 150, 400, 300});
    for (int i = 0; i < 12; ++i) {
        place(recorded.id(), {200, 150, 400 + 15 * i, 300 + 10 * (i % 5)});
        std::this_thread::sleep_for(std::chrono::milliseconds(15));
    }
    expectGoingOn("resized, faster than it is painted");

    const std::uint32_t desktops[] = {0, 1};
    for (int round = 0; round < 2; ++round) {
        ask(recorded.id(), "WM_CHANGE_STATE", {3});  // IconicState
        ASSERT_TRUE(eventually([&] { return !find(); }));
        place(recorded.id(), {220, 140, 420 + 20 * round, 330});
        ask(recorded.id(), "_NET_ACTIVE_WINDOW", {2, 0, 0});
        ASSERT_TRUE(eventually([&] { return find().has_value(); }));
        expectGoingOn("minimised and back");

        ask(recorded.id(), "_NET_WM_STATE", {1, connection_->atom("_NET_WM_STATE_SHADED"), 0, 2});
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ask(recorded.id(), "_NET_WM_STATE", {0, connection_->atom("_NET_WM_STATE_SHADED"), 0, 2});
        expectGoingOn("shaded and back");

        ask(connection_->root(), "_NET_NUMBER_OF_DESKTOPS", {2});
        ask(recorded.id(), "_NET_WM_DESKTOP", {desktops[1], 2});
        ASSERT_TRUE(eventually([&] { return !find(); }));
        ask(recorded.id(), "_NET_WM_DESKTOP", {desktops[0], 2});
        ASSERT_TRUE(eventually([&] { return find().has_value(); }));
        expectGoingOn("sent to another workspace and back");

        ask(connection_->root(), "_NET_CURRENT_DESKTOP", {desktops[1], 0});
        ASSERT_TRUE(eventually([&] { return !find(); }));
        ask(connection_->root(), "_NET_CURRENT_DESKTOP", {desktops[0], 0});
        ASSERT_TRUE(eventually([&] { return find().has_value(); }));
        expectGoingOn("left behind on its workspace");
    }
    for (int i = 0; i < 5; ++i) {
        ask(recorded.id(), "WM_CHANGE_STATE", {3});
        std::this_thread::sleep_for(std::chrono::milliseconds(90));
        ask(recorded.id(), "_NET_ACTIVE_WINDOW", {2, 0, 0});
        std::this_thread::sleep_for(std::chrono::milliseconds(90));
        place(recorded.id(), {200, 150, 420 + 25 * i, 330});
    }
    ask(recorded.id(), "_NET_ACTIVE_WINDOW", {2, 0, 0});
    expectGoingOn("minimised, shown and resized in a hurry");
    xcb_kill_client(connection_->get(), recorded.id());
    xcb_flush(connection_->get());
    EXPECT_TRUE(recording.waitForError());
    EXPECT_TRUE(recording.stop());
    EXPECT_EQ(foreignPixels, 0U) << "closed";
    EXPECT_TRUE(recording.isMonotonic());
}

INSTANTIATE_TEST_SUITE_P(
    WindowManagers, WindowPrivacyTest,
    testing::Values(WindowManager{"marco", {"marco", "--composite", "--sm-disable"}, true},
                    WindowManager{"xfwm4", {"xfwm4", "--compositor=on", "--vblank=off"}, true},
                    WindowManager{"openbox", {"openbox", "--sm-disable"}, false},
                    WindowManager{"icewm", {"icewm"}, false}),
    [](const auto& each) { return each.param.name; });

}  // namespace platform::test
