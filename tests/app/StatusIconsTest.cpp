#include <cmath>

#include <gtest/gtest.h>

#include "app/StatusIcons.h"

namespace tarnwell::testing {
namespace {

using namespace StatusIcons;

// The pixel at the given angle (degrees, counter-clockwise from the right)
// and distance (points) from the centre of a kPieChartSize image.
QColor pixelAt(const QImage &image, double degrees, double distance) {
    const double radians = degrees * M_PI / 180.0;
    const double centre = kPieChartSize / 2.0;
    const double x = (centre + distance * std::cos(radians)) * kDevicePixelRatio;
    const double y = (centre - distance * std::sin(radians)) * kDevicePixelRatio;
    return image.pixelColor(int(x), int(y));
}

bool isTransparent(const QColor &c) {
    return c.alpha() == 0;
}

bool isOpaque(const QColor &c, const QColor &expected) {
    return c.alpha() == 255 && c.rgb() == expected.rgb();
}

// Angles away from the wedge edges, where antialiasing blends colours.
constexpr double kInside = 5.0;  // points from the centre; the radius is 8
constexpr double kOutside = 10.0;

TEST(PieChartBlack, SolidWithNothingFreeOutlineOnlyWhenAllFree) {
    for (double percent : {0.0, 100.0, 150.0}) {
        const QImage image = pieChartIconBlack(percent);
        for (double degrees = 10; degrees < 360; degrees += 30) {
            SCOPED_TRACE(::testing::Message() << percent << " % at " << degrees);
            const QColor inside = pixelAt(image, degrees, kInside);
            EXPECT_TRUE(percent == 0 ? isOpaque(inside, Qt::black) : isTransparent(inside));
            EXPECT_GT(pixelAt(image, degrees, kPieChartRadius).alpha(), 200);
            EXPECT_TRUE(isTransparent(pixelAt(image, degrees, kOutside)));
        }
    }
}

TEST(PieChartBlack, QuarterFreeLeavesTheFirstQuarterOpen) {
    const QImage image = pieChartIconBlack(25);
    // Free runs counter-clockwise from 0 to 90 degrees; the rest is solid.
    EXPECT_TRUE(isTransparent(pixelAt(image, 45, kInside)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 135, kInside), Qt::black));
    EXPECT_TRUE(isOpaque(pixelAt(image, 270, kInside), Qt::black));
    EXPECT_TRUE(isOpaque(pixelAt(image, 315, kInside), Qt::black));
}

TEST(PieChartColor, WedgesRunCounterClockwiseFromTheTop) {
    // Free 25 % from 90 to 180, inactive 25 % from 180 to 270, active 10 %
    // to 306, wired 10 % to 342, compressed 5 % to 360; used-only stays clear.
    const QImage image = pieChartIconColor({25, 25, 10, 10, 5});
    EXPECT_TRUE(isOpaque(pixelAt(image, 135, kInside), segmentColor(0)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 225, kInside), segmentColor(1)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 288, kInside), segmentColor(2)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 324, kInside), segmentColor(3)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 351, kInside), segmentColor(4)));
    EXPECT_TRUE(isTransparent(pixelAt(image, 45, kInside)));
}

TEST(PieChartColor, NothingFreeLeavesTheFirstWedgeEmpty) {
    const QImage image = pieChartIconColor({0, 50, 0, 0, 0});
    EXPECT_TRUE(isOpaque(pixelAt(image, 135, kInside), segmentColor(1)));
    EXPECT_TRUE(isTransparent(pixelAt(image, 315, kInside)));
    for (double degrees = 0; degrees < 360; degrees += 20) {
        EXPECT_NE(pixelAt(image, degrees, kInside).rgb(), segmentColor(0).rgb()) << degrees;
    }
}

TEST(PieChartColor, OverHundredPercentPaintsOverTheFirstWedges) {
    // Free covers 90..306; inactive continues from 306 round to 522 (= 162),
    // over the start of the free wedge.
    const QImage image = pieChartIconColor({60, 60, 0, 0, 0});
    EXPECT_TRUE(isOpaque(pixelAt(image, 120, kInside), segmentColor(1)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 200, kInside), segmentColor(0)));
    EXPECT_TRUE(isOpaque(pixelAt(image, 330, kInside), segmentColor(1)));
}

TEST(PieChartColor, FullTurnIsSolid) {
    const QImage image = pieChartIconColor({100, 0, 0, 0, 0});
    for (double degrees = 25; degrees < 360; degrees += 40) {
        EXPECT_TRUE(isOpaque(pixelAt(image, degrees, kInside), segmentColor(0))) << degrees;
    }
}

TEST(Legend, ColouredCircle) {
    const QImage image = legendImage(segmentColor(1));
    EXPECT_EQ(image.size(), QSize(32, 32));
    // Centre (8, 8) points, radius 5, outlined in black.
    EXPECT_EQ(image.pixelColor(16, 10).rgb(), segmentColor(1).rgb());
    EXPECT_EQ(image.pixelColor(10, 22).rgb(), segmentColor(1).rgb());
    EXPECT_EQ(image.pixelColor(16, 5).rgb(), QColor(Qt::black).rgb());
    EXPECT_TRUE(isTransparent(image.pixelColor(1, 1)));
    EXPECT_TRUE(isTransparent(blankImage().pixelColor(16, 16)));
}

}  // namespace
}  // namespace tarnwell::testing
