#include "Cobaltreel/UI/MacControls/ControlMath.hpp"
#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

TEST(ControlMathTest, TheKnobStandsUnderThePointerThatSetItsValue) {
    for (const bool mirrored : {false, true})
        for (double x = 8; x <= 192; x += 4) {
            const double value = ControlMath::sliderValue(x, 200, 2, 12, mirrored);
            EXPECT_NEAR(ControlMath::knobX(ControlMath::fraction(value, 2, 12), 200, mirrored) + 8, x, 1e-9);
        }
}

TEST(ControlMathTest, SegmentsAreEqualUpToAPointAndFillTheControl) {
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

TEST(TextDirectionTest, OnlyTextsWithHebrewAreTurnedAndOnlyInHebrew) {
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
