#include "Cobaltreel/UI/MacControls/ControlMath.hpp"
#include "Cobaltreel/UI/MacControls/SmoothRectangle.hpp"
#include "Cobaltreel/UI/MacControls/SoftShadow.hpp"
#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace cobaltreel {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

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

TEST(ControlMath, FractionsStayWithinTheirEnds) {
    EXPECT_EQ(ControlMath::unit(1.4), 1);
    EXPECT_EQ(ControlMath::unit(-0.2), 0);
    EXPECT_EQ(ControlMath::unit(notANumber), 0);
    EXPECT_EQ(ControlMath::fraction(5, 2, 2), 0);
    EXPECT_EQ(ControlMath::fraction(5, 6, 8), 0);
    EXPECT_EQ(ControlMath::fraction(notANumber, 0, 1), 0);
    EXPECT_EQ(ControlMath::clamped(0.36, 0.15, 0.35), 0.35);
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

TEST(SmoothRectangle, CornersAreRoundAndTheSidesStraight) {
    const QRectF box(10, 20, 100, 40);
    const QPainterPath path = SmoothRectangle::outline(box, 8);
    EXPECT_EQ(path.boundingRect(), box);
    EXPECT_FALSE(path.contains(QPointF(11, 21)));
    EXPECT_FALSE(path.contains(QPointF(109, 59)));
    EXPECT_TRUE(path.contains(QPointF(60, 20.2)));
    EXPECT_TRUE(path.contains(QPointF(10.2, 40)));
    // Passes through the middle of the circular arc of the same radius.
    const double inset = 8 * (1 - std::sqrt(0.5));
    EXPECT_FALSE(path.contains(box.topLeft() + QPointF(inset - 0.2, inset - 0.2)));
    EXPECT_TRUE(path.contains(box.topLeft() + QPointF(inset + 0.2, inset + 0.2)));
    EXPECT_EQ(SmoothRectangle::outline(QRectF(0, 0, 10, 6), 40).boundingRect(), QRectF(0, 0, 10, 6));
}

TEST(SoftShadow, SpreadsTheCoverageAndKeepsItsAmount) {
    QImage picture(81, 81, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    for (int y = 30; y <= 50; ++y)
        for (int x = 30; x <= 50; ++x) picture.setPixelColor(x, y, Qt::white);
    const QImage shadow = SoftShadow::cast(picture, 10, QColor(0, 0, 0, 128));
    double amount = 0;
    for (int y = 0; y < 81; ++y)
        for (int x = 0; x < 81; ++x) {
            const QColor pixel = shadow.pixelColor(x, y);
            EXPECT_EQ(pixel.red() + pixel.green() + pixel.blue(), 0);
            amount += pixel.alpha();
        }
    EXPECT_NEAR(amount / (21 * 21 * 128), 1, 0.03);
    EXPECT_NEAR(shadow.pixelColor(40, 40).alpha(), 120, 10);
    EXPECT_NEAR(shadow.pixelColor(30, 40).alpha(), 64, 8);  // half at the edge
    EXPECT_EQ(shadow.pixelColor(40, 5).alpha(), 0);
    EXPECT_EQ(shadow.pixelColor(35, 28), shadow.pixelColor(45, 52));
}

}  // namespace
}  // namespace cobaltreel
