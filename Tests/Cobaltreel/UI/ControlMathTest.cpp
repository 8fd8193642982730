#include "Cobaltreel/UI/MacControls/ControlMath.hpp"
#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

TEST(ControlMath, SliderValuesFollowThePointerAndStopAtTheBounds) {
    struct Case {
        double x, width, lower, upper;
        bool mirrored;
        double expected;
    };
    const Case cases[]{
        {8, 216, 0.15, 0.35, false, 0.15},
        {208, 216, 0.15, 0.35, false, 0.35},
        {108, 216, 0.15, 0.35, false, 0.25},
        {-50, 216, 0.15, 0.35, false, 0.15},
        {900, 216, 0.15, 0.35, false, 0.35},
        {58, 216, 0, 100, false, 25},
        {8, 216, 0.15, 0.35, true, 0.35},
        {208, 216, 0.15, 0.35, true, 0.15},
        {58, 216, 0, 100, true, 75},
        {100, 216, 3, 3, false, 3},
        {5, 16, 0, 1, false, 0},
        {50, 0, 0, 1, false, 0},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(ControlMath::sliderValue(c.x, c.width, c.lower, c.upper, c.mirrored), c.expected)
            << c.x << " of " << c.width;
    // The bounds come out as they are, not as the nearest result of an interpolation.
    EXPECT_EQ(ControlMath::sliderValue(300, 216, 0.1, 0.7, false), 0.7);
}

TEST(ControlMath, TheKnobStandsUnderThePointerThatSetItsValue) {
    for (const bool mirrored : {false, true})
        for (double x = 8; x <= 192; x += 4) {
            const double value = ControlMath::sliderValue(x, 200, 2, 12, mirrored);
            EXPECT_NEAR(ControlMath::knobX(ControlMath::fraction(value, 2, 12), 200, mirrored) + 8, x, 1e-9);
        }
}

TEST(ControlMath, SegmentsAreEqualUpToAPointAndFillTheControl) {
    for (const int count : {1, 2, 3, 5})
        for (const double width : {170.0, 171.0, 292.0, 301.0}) {
            double expectedStart = 3;
            const double share = (width - 6 - 3 * (count - 1)) / count;
            for (int i = 0; i < count; ++i) {
                EXPECT_EQ(ControlMath::segmentX(i, count, width, false), expectedStart);
                const double size = ControlMath::segmentWidth(i, count, width);
                EXPECT_NEAR(size, share, 1);
                EXPECT_EQ(ControlMath::segmentX(i, count, width, true), width - expectedStart - size);
                expectedStart += size + 3;
            }
            EXPECT_EQ(expectedStart, width);
        }
    EXPECT_GE(ControlMath::segmentWidth(0, 3, 4), 0);
}

TEST(ControlMath, TheSelectionMovesByOneAndStopsAtTheEnds) {
    struct Case {
        int index, by, count, expected;
    };
    for (const Case& c : {Case{0, 1, 3, 1}, Case{2, 1, 3, 2}, Case{0, -1, 3, 0}, Case{-1, 1, 3, 0},
                          Case{-1, -1, 3, 2}, Case{-1, 1, 0, -1}})
        EXPECT_EQ(ControlMath::movedIndex(c.index, c.by, c.count), c.expected);
}

TEST(TextDirection, OnlyTextsWithHebrewAreTurnedAndOnlyInHebrew) {
    const QString mark(QChar(0x200F));
    const QString mixed = QStringLiteral(u"720p — קובץ"), latin = QStringLiteral("C920 (046d)"),
                  hebrew = QStringLiteral(u"צא מ-Cobaltreel");
    EXPECT_EQ(TextDirection::laidOut(mixed, true), mark + mixed);
    EXPECT_EQ(TextDirection::laidOut(mixed, false), mixed);
    EXPECT_EQ(TextDirection::laidOut(latin, true), latin);
    EXPECT_EQ(TextDirection::laidOut(hebrew, true), hebrew);
    // The × of a size stands between marks, so that the two numbers stay in their order.
    const QString size = QStringLiteral(u"מסך 1 — 1512×982");
    EXPECT_EQ(TextDirection::laidOut(size, true), QStringLiteral(u"מסך 1 — 1512\u200E×\u200E982"));
    EXPECT_EQ(TextDirection::laidOut(size, false), size);
}

}  // namespace
}  // namespace cobaltreel
