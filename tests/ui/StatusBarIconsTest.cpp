#include <gtest/gtest.h>
#include <QImage>

#include "QtPrinters.h"
#include "StatusBarIcons.h"

namespace tarnwell {
namespace {

QImage rendered(const QString &name, int size) {
    return loadStatusBarIcon(name, {size, size}).convertToFormat(QImage::Format_ARGB32);
}

class StatusBarIcons : public ::testing::TestWithParam<int> {};

// The template icon is a mask: any colour in it would survive the tint as a
// wrong shade. Its edges land on whole pixels at the panel's own size.
TEST_P(StatusBarIcons, LoadAndTheTemplateIconIsAMonochromeMask) {
    EXPECT_FALSE(rendered(kStatusBarIconStatic3D, GetParam()).isNull());
    const QImage image = rendered(kStatusBarIconStatic2D, GetParam());
    ASSERT_FALSE(image.isNull()) << "cannot load the icon (is the SVG image plugin installed?)";
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.alpha() > 0) {
                EXPECT_EQ(c.rgb() & 0xffffff, 0u) << "coloured pixel at " << x << "," << y;
            }
            opaque += c.alpha() >= 128;
        }
    }
    EXPECT_GT(opaque, GetParam() * GetParam() / 5) << "the glyph is too faint";
}

INSTANTIATE_TEST_SUITE_P(PanelSizes, StatusBarIcons, ::testing::Values(16, 22, 44));

}  // namespace
}  // namespace tarnwell
