#include "Platform/Foundation/Clock.hpp"
#include "Platform/Foundation/Qt/QtMainLoop.hpp"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace platform {
namespace {

class QtMainLoopTest : public testing::Test {
  protected:
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    QtMainLoop loop;
};

TEST_F(QtMainLoopTest, SixtyTicksTakeASecondAndMissedOnesAreNotMadeUpFor) {
    const HostClock clock;
    const double begin = clock.now();
    int ticks = 0;
    std::unique_ptr<Timer> timer = loop.scheduleRepeating(1.0 / 60, [&] {
        ++ticks;
        if (ticks == 10)  // the main thread is busy for a tenth of a second
            while (clock.now() < begin + 10.0 / 60 + 0.1) {
            }
        if (ticks == 30) {
            timer.reset();  // a timer may end itself
            QCoreApplication::quit();
        }
    });
    QCoreApplication::exec();
    const double spent = clock.now() - begin;
    EXPECT_EQ(ticks, 30);
    // Thirty beats and about six that went by unheard.
    EXPECT_GE(spent, 34.0 / 60);
}

TEST_F(QtMainLoopTest, FiresOnceEvenWithoutDelay) {
    int fired = 0;
    const auto timer = loop.scheduleOnce(0, [&] { ++fired; });
    const auto end = loop.scheduleOnce(0.05, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    EXPECT_EQ(fired, 1);
}

}  // namespace
}  // namespace platform
