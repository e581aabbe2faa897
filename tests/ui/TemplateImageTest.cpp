#include <gtest/gtest.h>

#include "QtPrinters.h"

#include "ui/TemplateImage.h"

#include "CaseName.h"

namespace tarnwell {
namespace {

struct PanelColorCase {
    const char *name;
    QColor window;
    QColor windowText;
    const char *gtkTheme;
    QColor expected;
};

class PanelTextColor : public ::testing::TestWithParam<PanelColorCase> {};

TEST_P(PanelTextColor, FollowsTheTheme) {
    QPalette palette;
    palette.setColor(QPalette::Window, GetParam().window);
    palette.setColor(QPalette::WindowText, GetParam().windowText);
    EXPECT_EQ(TemplateImage::panelTextColor(palette, QString::fromUtf8(GetParam().gtkTheme)),
              GetParam().expected);
}

const QColor kLight(239, 239, 239);

INSTANTIATE_TEST_SUITE_P(
    Themes, PanelTextColor,
    ::testing::Values(
        PanelColorCase{"LightPalette", kLight, Qt::black, "", Qt::black},
        PanelColorCase{"DarkPalette", QColor(49, 54, 59), QColor(239, 240, 241), "", Qt::white},
        PanelColorCase{"GtkDarkVariant", kLight, Qt::black, "Adwaita:dark", Qt::white},
        PanelColorCase{"GtkDarkTheme", kLight, Qt::black, "Arc-Dark", Qt::white},
        PanelColorCase{"GtkLightTheme", kLight, Qt::black, "Adwaita", Qt::black},
        // A mid-grey window with darker text is still a light theme.
        PanelColorCase{"GreyWithDarkText", QColor(128, 128, 128), QColor(20, 20, 20), "",
                       Qt::black}),
    test::caseName);

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
