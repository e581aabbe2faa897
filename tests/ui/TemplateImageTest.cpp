#include <gtest/gtest.h>

#include "ui/TemplateImage.h"

namespace tarnwell {
namespace {

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

}  // namespace
}  // namespace tarnwell
