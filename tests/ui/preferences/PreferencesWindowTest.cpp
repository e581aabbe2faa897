#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QSlider>

#include "CaseName.h"
#include "PreferencesRig.h"
#include "ui/preferences/ButtonImages.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/PreferencesWindowOpener.h"

namespace tarnwell::testing {
namespace {

TEST(PreferencesWindow, OneWindowAtATimeAndAFreshOneAfterClosing) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());

    opener.showPreferencesWindow();
    QPointer<QRMPreferencesWindowController> first = opener.preferencesWindowController();
    ASSERT_TRUE(first);
    EXPECT_TRUE(QTest::qWaitForWindowExposed(first));
    opener.showPreferencesWindow();
    EXPECT_EQ(opener.preferencesWindowController(), first);
    EXPECT_TRUE(first->isVisible());
    // Made once, reported once; bringing it forward is no new view.
    ASSERT_EQ(rig.usageEvents.contentViews.size(), 1u);
    EXPECT_EQ(rig.usageEvents.contentViews[0],
              QStringList({"Preferences", "Window", "preferencesWindow"}));

    first->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return first.isNull(); }));
    EXPECT_EQ(opener.preferencesWindowController(), nullptr);

    // A change made while it was closed shows in the next one.
    rig.preferences.setRefreshRate(9);
    opener.showPreferencesWindow();
    ASSERT_NE(opener.preferencesWindowController(), nullptr);
    EXPECT_EQ(opener.preferencesWindowController()->tabGeneral->refreshRateSlider->value(), 9);
    EXPECT_EQ(rig.usageEvents.contentViews.size(), 2u);
}

struct KeyCase {
    const char *name;
    Qt::KeyboardModifiers modifiers;
    bool closes;
};

void PrintTo(const KeyCase &row, std::ostream *os) {
    *os << row.name;
}

class CloseKey : public ::testing::TestWithParam<KeyCase> {};

TEST_P(CloseKey, OnlyControlWCloses) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    opener.showPreferencesWindow();
    QPointer<QRMPreferencesWindowController> window = opener.preferencesWindowController();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));

    QTest::keyClick(window->tabGeneral->refreshRateSlider, Qt::Key_W, GetParam().modifiers);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window.isNull(), GetParam().closes);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, CloseKey,
    ::testing::Values(KeyCase{"Control", Qt::ControlModifier, true},
                      KeyCase{"ControlShift", Qt::ControlModifier | Qt::ShiftModifier, false},
                      KeyCase{"ControlAlt", Qt::ControlModifier | Qt::AltModifier, false},
                      KeyCase{"Plain", Qt::NoModifier, false}),
    caseName);

struct BadValueCase {
    const char *name;
    const char *key;
    QVariant stored;
    const char *shown;  // by the control that shows the setting
};

void PrintTo(const BadValueCase &row, std::ostream *os) {
    *os << row.name;
}

class BadSettings : public ::testing::TestWithParam<BadValueCase> {};

QString shownFor(const QRMPreferencesWindowController &window, const QString &key) {
    const GeneralTab &general = *window.tabGeneral;
    if (key == u"refreshRate") {
        return QString::number(general.refreshRateSlider->value()) + u'|' +
               general.updateEverySec->text();
    }
    if (key == u"statusBarText") {
        return general.statusBarTextComboBox->currentText();
    }
    if (key == u"statusBarIcon") {
        return general.statusBarIconComboBox->currentText();
    }
    if (key == u"selectedLanguage") {
        return general.languageComboBox->currentText();
    }
    if (key == u"autoCleanEveryTime") {
        return QString::number(window.tabCleaning->autoCleanEveryTimeSlider->value()) + u'|' +
               window.tabCleaning->min->text();
    }
    return window.tabCleaning->autoCleanByFreeSizeTextField->text();
}

// An edited settings file opens the window with the defaults shown.
TEST_P(BadSettings, OpenWithTheDefaultShown) {
    const BadValueCase &c = GetParam();
    PreferencesRig rig;
    rig.store(QString::fromLatin1(c.key), c.stored);
    auto window = rig.open();
    EXPECT_EQ(shownFor(*window, QString::fromLatin1(c.key)), QString::fromUtf8(c.shown));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BadSettings,
    ::testing::Values(BadValueCase{"RefreshRateHuge", "refreshRate", 86400, "5|5 sec"},
                      BadValueCase{"RefreshRateText", "refreshRate", "fast", "5|5 sec"},
                      BadValueCase{"TextTypeNegative", "statusBarText", -1, "Free memory, size"},
                      BadValueCase{"IconTypeTooLarge", "statusBarIcon", 9, "Pie chart, monochrome"},
                      BadValueCase{"IconTypeText", "statusBarIcon", "pie", "Pie chart, monochrome"},
                      BadValueCase{"LanguageTooLarge", "selectedLanguage", 7, "Automatic"},
                      BadValueCase{"IntervalHuge", "autoCleanEveryTime", 100000, "10|10 min"},
                      // 1 % of 8 GiB in MB, the store's own default.
                      BadValueCase{"ThresholdText", "autoCleanByFreeSize", "lots", "81"}),
    caseName);

TEST(PreferencesWindow, BothNoneInTheFileShowsTheDefaults) {
    PreferencesRig rig;
    rig.store("statusBarText", 0);
    rig.store("statusBarIcon", 0);
    auto window = rig.open();
    EXPECT_EQ(window->tabGeneral->statusBarTextComboBox->currentText(), "Free memory, size");
    EXPECT_EQ(window->tabGeneral->statusBarIconComboBox->currentText(), "Pie chart, monochrome");
}

TEST(PreferencesWindow, PlusAndMinusFollowTheThemeHalfASecondAfterItChanges) {
    QPalette light;
    light.setColor(QPalette::ButtonText, Qt::black);
    QPalette dark;
    dark.setColor(QPalette::ButtonText, Qt::white);
    // Both glyphs cross the centre; only "+" reaches up to its fourth row.
    for (const auto &[palette, color] :
         {std::pair{light, QColor(Qt::black)}, std::pair{dark, QColor(Qt::white)}}) {
        const QImage add = imageForAddButton(palette, 2.0);
        const QImage remove = imageForRemoveButton(palette, 2.0);
        ASSERT_EQ(add.size(), QSize(32, 32));
        EXPECT_EQ(add.pixelColor(16, 16), color);
        EXPECT_EQ(add.pixelColor(16, 8), color);
        EXPECT_EQ(remove.pixelColor(16, 16), color);
        EXPECT_EQ(remove.pixelColor(16, 8).alpha(), 0);
    }

    PreferencesRig rig;
    auto window = rig.open();
    QSignalSpy themeChanged(window.get(), &QRMPreferencesWindowController::themeChanged);
    window->setPalette(dark);
    window->setPalette(light);
    EXPECT_EQ(themeChanged.size(), 0);
    EXPECT_TRUE(themeChanged.wait(1000));
    EXPECT_FALSE(themeChanged.wait(700));
    EXPECT_EQ(themeChanged.size(), 1);
}

}  // namespace
}  // namespace tarnwell::testing
