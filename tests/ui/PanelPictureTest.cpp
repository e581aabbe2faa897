// What the panel shows: the title drawn beside the icon where the host shows
// no label, in the panel's text colour, sharp at both pixel densities.
#include <gtest/gtest.h>

#include "QtPrinters.h"
#include "ui/TitledIcon.h"

namespace tarnwell {
namespace {

struct DrawCase {
    const char *name;
    qreal ratio;
    QColor text;
};

class DrawnTitle : public ::testing::TestWithParam<DrawCase> {};

// Mostly opaque pixels close to a colour.
int pixelsNear(const QImage &image, const QColor &color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += pixel.alpha() > 200 && std::abs(pixel.red() - color.red()) < 40 &&
                     std::abs(pixel.green() - color.green()) < 40 &&
                     std::abs(pixel.blue() - color.blue()) < 40;
        }
    }
    return count;
}

TEST_P(DrawnTitle, FillsTheSquareInThePanelColour) {
    const DrawCase &c = GetParam();
    const QImage drawn = TitledIcon::draw(QStringLiteral("16.55 GB"), c.text, 22, c.ratio)
                             .convertToFormat(QImage::Format_ARGB32);

    const int side = qRound(22 * c.ratio);
    ASSERT_EQ(drawn.size(), QSize(side, side));
    EXPECT_EQ(drawn.devicePixelRatio(), c.ratio);
    // Text in the panel's colour, never in the opposite one.
    const QColor opposite = c.text == QColor(Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
    EXPECT_GT(pixelsNear(drawn, c.text), 20 * c.ratio * c.ratio);
    EXPECT_EQ(pixelsNear(drawn, opposite), 0);
    // As large as the square allows: the text spans most of its width.
    int left = side, right = -1;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            if (drawn.pixelColor(x, y).alpha() > 0) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
    }
    EXPECT_GT(right - left, side * 3 / 4);

    if (c.ratio == 2) {
        // Drawn at the density, not scaled up from one: a scaled-up picture
        // repeats every pixel in 2x2 blocks.
        bool allBlocksUniform = true;
        for (int y = 0; y + 1 < side; y += 2) {
            for (int x = 0; x + 1 < side; x += 2) {
                const QRgb p = drawn.pixel(x, y);
                allBlocksUniform &= drawn.pixel(x + 1, y) == p && drawn.pixel(x, y + 1) == p &&
                                    drawn.pixel(x + 1, y + 1) == p;
            }
        }
        EXPECT_FALSE(allBlocksUniform);
    }
}

INSTANTIATE_TEST_SUITE_P(RatiosAndPanels, DrawnTitle,
                         ::testing::Values(DrawCase{"LightPanelRatio1", 1.0, Qt::black},
                                           DrawCase{"LightPanelRatio2", 2.0, Qt::black},
                                           DrawCase{"DarkPanelRatio1", 1.0, Qt::white},
                                           DrawCase{"DarkPanelRatio2", 2.0, Qt::white}),
                         test::caseName);

}  // namespace
}  // namespace tarnwell
