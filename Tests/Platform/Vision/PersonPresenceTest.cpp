#include "Platform/Vision/OpenCv/PersonPresence.hpp"

#include <gtest/gtest.h>

namespace platform::testing {
namespace {

const cv::Size answer(256, 144);
const cv::Rect body(100, 40, 60, 104), plant(120, 90, 30, 40), elsewhere(10, 90, 30, 40);

PersonPieces found(const cv::Rect& place, double confidence) {
    PersonPieces pieces{cv::Mat1b(answer, uchar(0))};
    pieces.solid(place).setTo(255);
    pieces.area = place.area() / static_cast<double>(answer.area());
    pieces.confidence = confidence;
    return pieces;
}

cv::Mat1b changed(const cv::Rect& place) {
    cv::Mat1b differs(answer, uchar(0));
    differs(place).setTo(255);
    return differs;
}

const cv::Mat1b nothing(answer, uchar(0)), everything(answer, uchar(255));
const cv::Mat3b gray(answer, cv::Vec3b::all(120));

/// The gray room with something bright in it.
cv::Mat3b showing(const cv::Rect& place) {
    cv::Mat3b picture = gray.clone();
    picture(place).setTo(cv::Scalar::all(220));
    return picture;
}

TEST(PersonPresenceTest, ADoubtfulThingIsSomebodyOnceItMovesByItself) {
    struct Case {
        const char* what;
        double confidence;
        cv::Mat1b differs;
        bool somebody;
    };
    for (const auto& c : {Case{"beyond doubt", 0.95, nothing, true},
                          {"stands still", 0.85, nothing, false},
                          {"moves", 0.85, changed({100, 60, 20, 20}), true},
                          {"the camera moves", 0.85, everything, false},
                          {"the room moves", 0.85, changed(elsewhere), false},
                          {"too doubtful", 0.65, changed({100, 60, 20, 20}), false}}) {
        PersonPresence presence;
        bool somebody = false;
        for (int i = 0; i < 6; ++i) somebody = presence.judge(found(body, c.confidence), gray, c.differs);
        EXPECT_EQ(somebody, c.somebody) << c.what;
        EXPECT_EQ(presence.wasSeen(), c.somebody) << c.what;
    }
}

TEST(PersonPresenceTest, AThingThatIsLeftWhenSomebodyGoesIsNobody) {
    for (const auto& thing : {plant, elsewhere}) {
        PersonPresence presence;
        EXPECT_TRUE(presence.judge(found(body, 0.98), gray, {}));
        EXPECT_TRUE(presence.judge(found(body, 0.7), gray, nothing));  // the light went out
        EXPECT_FALSE(presence.judge(found(thing, 0.85), gray, changed(body)));
        EXPECT_FALSE(presence.judge(found(thing, 0.85), gray, nothing));
        EXPECT_TRUE(presence.wasSeen());
        EXPECT_TRUE(presence.judge(found(body, 0.98), gray, changed(body)));
    }
}

TEST(PersonPresenceTest, WhatIsDoubtfulAndStandsStillIsNobodyAfterAWhile) {
    for (const bool stirs : {false, true}) {
        PersonPresence presence;
        EXPECT_TRUE(presence.judge(found(body, 0.98), showing(body), {}));
        bool always = true;
        // Too slow to be seen from one frame to the next.
        for (int i = 0; i < 100; ++i)
            always =
                presence.judge(found(body, 0.8), showing(body + cv::Point(stirs ? i / 10 : 0, 0)), nothing) &&
                always;
        EXPECT_EQ(always, stirs);
    }
}

TEST(PersonPresenceTest, AnotherSceneIsJudgedAfreshButNotAnotherLight) {
    cv::Mat3b room(answer), other(answer);
    cv::RNG(1).fill(room, cv::RNG::UNIFORM, 0, 160);
    cv::RNG(2).fill(other, cv::RNG::UNIFORM, 0, 160);
    for (const bool light : {false, true}) {
        PersonPresence presence;
        EXPECT_TRUE(presence.judge(found(body, 0.98), room, {}));
        EXPECT_EQ(presence.judge(found(body, 0.8), light ? cv::Mat3b(room * 1.5) : other, everything), light);
    }
}

TEST(PersonPresenceTest, SomebodyOnTheirWayInIsThereAtOnce) {
    PersonPresence presence;
    const cv::Rect side(0, 30, 40, 114);
    EXPECT_FALSE(presence.judge(found(side, 0.8), gray, nothing));
    PersonPresence other;
    EXPECT_TRUE(other.judge(found(side, 0.8), gray, changed(side)));
    // And stays there, however long nobody was.
    PersonPresence empty;
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(empty.judge(found({}, 0), gray, nothing));
    EXPECT_TRUE(empty.judge(found(side, 0.8), gray, changed(side)));
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(empty.judge(found(side, 0.8), gray, changed({0, 60, 20, 20})));
}

}  // namespace
}  // namespace platform::testing
