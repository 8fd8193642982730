// Measures what a person waits for around a take, on the screen itself and with the real application; each
// take in a program of its own. Benchmarks/take runs it on a virtual desktop of 1280 × 800 with test devices:
//   TakeBenchmark --program COBALTREEL [--rounds N] [--seconds S] [--json]
// The hot key begins and ends a take; one pixel of a plain ground tells when it is dimmed by the countdown,
// free again, covered by the preview and seen in its picture.

#include "Measuring.hpp"
#include "Platform/Foundation/Clock.hpp"
#include "Platform/Xcb/XcbConnection.hpp"
#include "Rig/ChildProcess.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>
#include <xcb/xtest.h>

namespace cobaltreel::benchmarks {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::string program;
    int rounds = 5;
    double seconds = 5;
    bool json = false;
};

constexpr std::uint32_t groundColor = 0x3070c0;
/// Where the preview has its picture, beside where the panel stands.
constexpr int probeX = 340, probeY = 190;

class Screen {
  public:
    Screen() {
        xcb_change_window_attributes(server_.get(), server_.root(), XCB_CW_BACK_PIXEL, &groundColor);
        xcb_clear_area(server_.get(), 0, server_.root(), 0, 0, 0, 0);
        xcb_flush(server_.get());
    }

    /// How bright a pixel is compared with the ground, 0…1 and more.
    double brightnessAt(int x, int y) const {
        const auto image =
            server_.reply(xcb_get_image_reply, xcb_get_image(server_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                                             server_.root(), static_cast<std::int16_t>(x),
                                                             static_cast<std::int16_t>(y), 1, 1, ~0U));
        if (!image) throw std::runtime_error("the screen cannot be read");
        return xcb_get_image_data(image.get())[0] / double(groundColor & 0xff);
    }
    double probe() const { return brightnessAt(probeX, probeY); }

    /// Option-Command-2.
    void pressChord() {
        constexpr std::uint32_t alt = 0xffe9, super = 0xffeb, two = '2';
        for (const std::uint32_t key : {alt, super, two}) send(XCB_KEY_PRESS, key);
        for (const std::uint32_t key : {two, super, alt}) send(XCB_KEY_RELEASE, key);
        xcb_flush(server_.get());
    }

  private:
    void send(std::uint8_t type, std::uint32_t keysym) {
        const xcb_setup_t* setup = xcb_get_setup(server_.get());
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        const auto mapping =
            server_.reply(xcb_get_keyboard_mapping_reply,
                          xcb_get_keyboard_mapping(server_.get(), setup->min_keycode, count));
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
        for (int i = 0; i < count; ++i) {
            if (keysyms[i * mapping->keysyms_per_keycode] != keysym) continue;
            xcb_test_fake_input(server_.get(), type, static_cast<std::uint8_t>(setup->min_keycode + i), 0,
                                XCB_NONE, 0, 0, 0);
            return;
        }
        throw std::runtime_error("the keyboard lacks a key of the chord");
    }

    platform::XcbConnection server_;
};

/// Milliseconds, of one take.
struct Waits {
    double pressToCountdown = 0;
    double countdownToFirstFrame = 0;
    double stopToPicture = 0;
};

class Take {
  public:
    Take(Screen& screen, const Options& options)
        : screen_(screen),
          options_(options),
          sessions_(fs::path(std::getenv("XDG_DATA_HOME")) / "Cobaltreel/sessions") {}

    Waits run() {
        fs::remove_all(sessions_);
        rig::ChildProcess application({options_.program});
        // Without a tray the program opens its panel.
        when("the panel is shown", 20, [&] { return std::abs(screen_.brightnessAt(640, 400) - 1) > 0.2; });
        std::this_thread::sleep_for(std::chrono::seconds(2));  // its camera runs

        Waits waits;
        const double pressed = clock_.now();
        screen_.pressChord();
        const double dimmed = when("the screen is dimmed", 5, [&] { return screen_.probe() < 0.9; });
        waits.pressToCountdown = 1000 * (dimmed - pressed);
        const double freed = when("the countdown ends", 10, [&] { return screen_.probe() > 0.95; });
        std::this_thread::sleep_for(std::chrono::duration<double>(options_.seconds));

        const double stopped = clock_.now();
        screen_.pressChord();
        when("the preview is opened", 20, [&] { return screen_.probe() < 0.7; });
        const double seen =
            when("its picture is shown", 20, [&] { return std::abs(screen_.probe() - 1) < 0.1; });
        waits.stopToPicture = 1000 * (seen - stopped);
        waits.countdownToFirstFrame = 1000 * (firstFrame() - freed);
        return waits;
    }

  private:
    double when(const std::string& what, double limit, const std::function<bool()>& isSo) const {
        const double end = clock_.now() + limit;
        while (!isSo()) {
            if (clock_.now() > end) throw std::runtime_error("it does not come to this: " + what);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return clock_.now();
    }
    double firstFrame() const {
        for (const auto& session : fs::directory_iterator(sessions_))
            return nlohmann::json::parse(std::ifstream(session.path() / "session.json")).at("screenFirstPTS");
        throw std::runtime_error("there is no session");
    }

    Screen& screen_;
    const Options& options_;
    fs::path sessions_;
    platform::HostClock clock_;
};

void measure(const Options& options) {
    Screen screen;
    struct Wait {
        const char* name;
        const char* key;
        double Waits::*value;
        std::vector<double> all;
    };
    Wait waits[]{{"press to countdown", "pressToCountdownMs", &Waits::pressToCountdown, {}},
                 {"end of the countdown to the first frame",
                  "countdownToFirstFrameMs",
                  &Waits::countdownToFirstFrame,
                  {}},
                 {"stop to the preview's first picture", "stopToPictureMs", &Waits::stopToPicture, {}}};
    for (int round = 0; round < options.rounds; ++round) {
        const Waits taken = Take(screen, options).run();
        for (Wait& wait : waits) wait.all.push_back(taken.*wait.value);
    }
    nlohmann::ordered_json result;
    for (const Wait& wait : waits) {
        const Spread spread = spreadOf(wait.all);
        result[wait.key] = {{"median", spread.median}, {"least", spread.least}, {"most", spread.most}};
        if (!options.json)
            std::printf("%-40s %5.0f ms (%.0f to %.0f)\n", wait.name, spread.median, spread.least,
                        spread.most);
    }
    if (options.json) std::cout << result.dump(2) << '\n';
}

}  // namespace
}  // namespace cobaltreel::benchmarks

int main(int argc, char** argv) {
    cobaltreel::benchmarks::Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&]() -> std::string { return ++i < argc ? argv[i] : ""; };
        if (word == "--program")
            options.program = value();
        else if (word == "--rounds")
            options.rounds = std::atoi(value().c_str());
        else if (word == "--seconds")
            options.seconds = std::atof(value().c_str());
        else if (word == "--json")
            options.json = true;
        else
            options.rounds = 0;
    }
    if (options.program.empty() || options.rounds < 1 || !(options.seconds > 0)) {
        std::cerr << "usage: TakeBenchmark --program COBALTREEL [--rounds N] [--seconds S] [--json]\n";
        return 2;
    }
    try {
        cobaltreel::benchmarks::measure(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "TakeBenchmark: " << error.what() << '\n';
        return 1;
    }
}
