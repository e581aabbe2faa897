// What the panel shows: the title drawn beside the icon where the host shows
// no label, in the panel's text colour, sharp at both pixel densities.
#include <gtest/gtest.h>

#include "CaseName.h"
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

// Pixels of the text area that are close to a colour and mostly opaque.
int pixelsNear(const QImage &image, int fromX, const QColor &color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = fromX; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() > 200 && std::abs(pixel.red() - color.red()) < 40 &&
                std::abs(pixel.green() - color.green()) < 40 &&
                std::abs(pixel.blue() - color.blue()) < 40) {
                ++count;
            }
        }
    }
    return count;
}

TEST_P(DrawnTitle, TextBesideTheIconInThePanelColour) {
    const DrawCase &c = GetParam();
    QImage pie(22, 22, QImage::Format_ARGB32);
    pie.fill(Qt::red);
    const QImage drawn = TitledIcon::draw(pie, QStringLiteral("12.12 %"), c.text, 22, c.ratio)
                             .convertToFormat(QImage::Format_ARGB32);

    ASSERT_EQ(drawn.height(), qRound(22 * c.ratio));
    EXPECT_EQ(drawn.devicePixelRatio(), c.ratio);
    // The icon keeps its square at the left, at full height.
    EXPECT_EQ(drawn.pixelColor(qRound(11 * c.ratio), qRound(11 * c.ratio)), QColor(Qt::red));
    const int textStart = qRound(24 * c.ratio);
    ASSERT_GT(drawn.width(), textStart + qRound(20 * c.ratio)) << "no room for the text";
    // Text in the panel's colour, never in the opposite one.
    const QColor opposite = c.text == QColor(Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
    EXPECT_GT(pixelsNear(drawn, textStart, c.text), 20 * c.ratio * c.ratio);
    EXPECT_EQ(pixelsNear(drawn, textStart, opposite), 0);

    if (c.ratio == 2) {
        // Drawn at the density, not scaled up from one: a scaled-up picture
        // repeats every pixel in 2x2 blocks.
        bool allBlocksUniform = true;
        for (int y = 0; y + 1 < drawn.height() && allBlocksUniform; y += 2) {
            for (int x = textStart; x + 1 < drawn.width(); x += 2) {
                const QRgb p = drawn.pixel(x, y);
                if (drawn.pixel(x + 1, y) != p || drawn.pixel(x, y + 1) != p ||
                    drawn.pixel(x + 1, y + 1) != p) {
                    allBlocksUniform = false;
                    break;
                }
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

TEST(DrawnTitleWidth, GrowsWithTheTextAndIsTheIconAloneWithout) {
    QImage pie(22, 22, QImage::Format_ARGB32);
    pie.fill(Qt::red);
    EXPECT_EQ(TitledIcon::draw(pie, QString(), Qt::black, 22, 1.0).size(), QSize(22, 22));
    EXPECT_LT(TitledIcon::draw(pie, QStringLiteral("1 %"), Qt::black, 22, 1.0).width(),
              TitledIcon::draw(pie, QStringLiteral("Free: 12.12 %"), Qt::black, 22, 1.0).width());
}

}  // namespace
}  // namespace tarnwell
