#include <cmath>
#include <optional>

#include <gtest/gtest.h>

#include "CaseName.h"
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

// Points from the centre; the radius is 8.
constexpr double kInside = 5.0;
constexpr double kOutside = 10.0;

struct PieCase {
    const char *name;
    std::optional<double> freePercents;  // the black chart; otherwise the colour one
    std::array<double, kSegmentCount> percents;
    // Inside the circle at 15, 45, ... 345 degrees: '.' nothing, 'k' black, a
    // digit that segment's colour, '?' too near a wedge edge to tell.
    const char *inside;
};

class PieChart : public ::testing::TestWithParam<PieCase> {};

TEST_P(PieChart, WedgesRunCounterClockwise) {
    const PieCase &c = GetParam();
    const QImage image =
        c.freePercents ? pieChartIconBlack(*c.freePercents) : pieChartIconColor(c.percents);
    for (int sector = 0; sector < 12; ++sector) {
        const double degrees = 15 + 30 * sector;
        const char expected = c.inside[sector];
        SCOPED_TRACE(::testing::Message() << degrees << " degrees");
        const QColor inside = pixelAt(image, degrees, kInside);
        if (expected == '.') {
            EXPECT_TRUE(isTransparent(inside));
        } else if (expected != '?') {
            EXPECT_TRUE(isOpaque(
                inside, expected == 'k' ? QColor(Qt::black) : segmentColor(expected - '0')));
        }
        EXPECT_TRUE(isTransparent(pixelAt(image, degrees, kOutside)));
        // The black chart always outlines the whole circle.
        if (c.freePercents) {
            EXPECT_GT(pixelAt(image, degrees, kPieChartRadius).alpha(), 200);
        }
    }
}

// The black chart leaves free memory open from 0 degrees; the colour chart
// starts at 90 with free, then inactive, active, wired and compressed, and
// leaves used memory clear. Beyond 100 % wedges paint over the first ones.
INSTANTIATE_TEST_SUITE_P(
    Charts, PieChart,
    ::testing::Values(PieCase{"BlackNothingFree", 0, {}, "kkkkkkkkkkkk"},
                      PieCase{"BlackQuarterFree", 25, {}, "...kkkkkkkkk"},
                      PieCase{"BlackAllFree", 100, {}, "............"},
                      PieCase{"BlackOverFull", 150, {}, "............"},
                      PieCase{"ColourEveryWedge",
                              std::nullopt,
                              {25, 25, 50.0 / 3, 50.0 / 3, 25.0 / 3},
                              "34.000111223"},
                      PieCase{"ColourNothingFree", std::nullopt, {0, 50, 0, 0, 0}, "...111111..."},
                      PieCase{"ColourOverFull", std::nullopt, {60, 60, 0, 0, 0}, "11111?000011"},
                      PieCase{"ColourFullTurn", std::nullopt, {100, 0, 0, 0, 0}, "000000000000"}),
    test::caseName);

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
