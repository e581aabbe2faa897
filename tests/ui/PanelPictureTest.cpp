// What the panel shows: the bundled icons, template masks in the panel's
// colour, and the title drawn where the host shows no label, sharp at both
// pixel densities.
#include <gtest/gtest.h>

#include "Pixels.h"
#include "QtPrinters.h"
#include "StatusBarIcons.h"
#include "ui/TemplateImage.h"
#include "ui/TitledIcon.h"

namespace tarnwell {
namespace {

using test::pixelsNear;
using test::pixelsWhere;

// The template icon is a mask: any colour in it would survive the tint as a
// wrong shade. Its edges land on whole pixels at the panel's own size.
TEST(StatusBarIcons, LoadAndTheTemplateIconIsAMonochromeMask) {
    for (const int size : {16, 22, 44}) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(loadStatusBarIcon(kStatusBarIconStatic3D, {size, size}).isNull());
        const QImage image = loadStatusBarIcon(kStatusBarIconStatic2D, {size, size})
                                 .convertToFormat(QImage::Format_ARGB32);
        ASSERT_FALSE(image.isNull()) << "cannot load the icon (is the SVG image plugin installed?)";
        EXPECT_EQ(
            pixelsWhere(image,
                        [](const QColor &c) { return c.alpha() > 0 && (c.rgb() & 0xffffff) != 0; }),
            0)
            << "coloured pixels";
        EXPECT_GT(pixelsWhere(image, [](const QColor &c) { return c.alpha() >= 128; }),
                  size * size / 5)
            << "the glyph is too faint";
    }
}

TEST(TemplateImageTint, PaintsEveryPixelKeepingItsCoverage) {
    QImage mask(3, 1, QImage::Format_ARGB32);
    mask.setPixelColor(0, 0, QColor(255, 0, 0, 255));
    mask.setPixelColor(1, 0, QColor(0, 0, 255, 128));
    mask.setPixelColor(2, 0, QColor(0, 0, 0, 0));
    const QImage tinted =
        TemplateImage::tinted(mask, Qt::white).convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(tinted.pixelColor(0, 0), QColor(Qt::white));
    EXPECT_EQ(tinted.pixelColor(1, 0), QColor(255, 255, 255, 128));
    EXPECT_EQ(tinted.pixelColor(2, 0).alpha(), 0);
}

TEST(DrawnTitle, FillsTheSquareInThePanelColour) {
    const struct {
        qreal ratio;
        QColor text;
    } cases[] = {{1.0, Qt::black}, {2.0, Qt::black}, {1.0, Qt::white}, {2.0, Qt::white}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.text.name().toStdString() << " at " << c.ratio);
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
}

}  // namespace
}  // namespace tarnwell
