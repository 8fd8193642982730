#include "Cobaltreel/UI/CountdownWindow/Countdown.hpp"
#include "Fakes/FakeKeyGrabber.hpp"
#include "Fakes/VirtualTime.hpp"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace cobaltreel {
namespace {

using ::testing::ElementsAre;

class CountdownTest : public ::testing::Test {
  protected:
    struct Overlay final : CountdownOverlay {
        explicit Overlay(CountdownTest& test) : owner(test) { ++owner.shown; }
        ~Overlay() override { --owner.shown; }
        CountdownTest& owner;
    };

    void run() {
        countdown->run([this] { heard.push_back("cancel at " + state()); },
                       [this] { heard.push_back("done at " + state()); });
    }
    /// Time since the start in tenths, and what is on screen.
    std::string state() const {
        return std::to_string(std::lround((time->now() - start) * 10)) + (shown ? " shown" : " hidden") +
               (keys->isGrabbed() ? " grabbed" : "");
    }

    std::shared_ptr<platform::VirtualTime> time = std::make_shared<platform::VirtualTime>();
    std::shared_ptr<platform::FakeKeyGrabber> keys = std::make_shared<platform::FakeKeyGrabber>();
    double start = time->now();
    int shown = 0;
    std::vector<std::string> heard;
    std::unique_ptr<Countdown> countdown = std::make_unique<Countdown>(
        time, keys, [this](CountdownModel&) { return std::make_unique<Overlay>(*this); });
};

TEST_F(CountdownTest, ShowsEachDigitForItsTimeAndIsGoneWhenItIsDone) {
    std::vector<int> digits;
    run();
    EXPECT_TRUE(keys->isGrabbed());
    for (int tenth = 0; tenth < 24; ++tenth) {
        time->advance(tenth == 0 ? 0.05 : 0.1);
        EXPECT_EQ(shown, 1);
        digits.push_back(countdown->model().digit());
    }
    time->advance(0.1);
    EXPECT_EQ(digits,
              (std::vector<int>{3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1}));
    EXPECT_THAT(heard, ElementsAre("done at 24 hidden"));
    EXPECT_FALSE(keys->pressEscape());
}

TEST_F(CountdownTest, EachRunBeginsAtThreeAndTakesThePlaceOfTheOneBefore) {
    for (const double after : {1.5, 5.0}) {
        heard.clear();
        run();
        time->advance(after);
        heard.clear();
        start = time->now();
        run();
        EXPECT_EQ(countdown->model().digit(), 3);
        EXPECT_EQ(shown, 1);
        time->advance(10);
        EXPECT_THAT(heard, ElementsAre("done at 24 hidden")) << after;
    }
}

TEST_F(CountdownTest, EndsWithItsOwnerAndSurvivesBeingDestroyedByACallback) {
    run();
    time->advance(1);
    countdown.reset();
    EXPECT_EQ(shown, 0);
    time->advance(5);
    EXPECT_THAT(heard, ElementsAre());

    for (const bool byEscape : {true, false}) {
        countdown = std::make_unique<Countdown>(
            time, keys, [this](CountdownModel&) { return std::make_unique<Overlay>(*this); });
        countdown->run([this] { countdown.reset(); }, [this] { countdown.reset(); });
        if (byEscape) keys->pressEscape();
        time->advance(5);
        EXPECT_EQ(countdown, nullptr);
        EXPECT_EQ(shown, 0);
    }
}

TEST_F(CountdownTest, ADesktopThatKeepsItsEscapeKeyStillGetsItsCountdown) {
    keys->refusal = platform::PlatformError("Desktop", 0, "taken");
    run();
    time->advance(2.5);
    EXPECT_THAT(heard, ElementsAre("done at 24 hidden"));
}

}  // namespace
}  // namespace cobaltreel
