#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QSlider>

#include "PreferencesRig.h"
#include "ui/preferences/AppsTab.h"
#include "ui/preferences/ButtonImages.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/QRMPopUpButton.h"
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

TEST(PreferencesWindow, OnlyControlWCloses) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    opener.showPreferencesWindow();
    QPointer<QRMPreferencesWindowController> window = opener.preferencesWindowController();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    for (const Qt::KeyboardModifiers modifiers :
         {Qt::ControlModifier | Qt::ShiftModifier, Qt::ControlModifier | Qt::AltModifier,
          Qt::KeyboardModifiers(Qt::NoModifier), Qt::KeyboardModifiers(Qt::ControlModifier)}) {
        ASSERT_FALSE(window.isNull()) << "closed by an earlier key";
        QTest::keyClick(window->tabGeneral->refreshRateSlider, Qt::Key_W, modifiers);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(window.isNull(), modifiers == Qt::ControlModifier) << modifiers.toInt();
    }
}

// What the control showing key shows.
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
TEST(PreferencesWindow, UnusableStoredValuesOpenWithTheDefaultShown) {
    const std::pair<const char *, const char *> rows[] = {
        {"refreshRate=86400", "5|5 sec"},
        {"refreshRate=fast", "5|5 sec"},
        {"statusBarText=-1", "Free memory, size"},
        {"statusBarIcon=9", "Pie chart, monochrome"},
        {"statusBarIcon=pie", "Pie chart, monochrome"},
        // Both "None" would leave the panel empty.
        {"statusBarText=0 statusBarIcon=0", "Free memory, size|Pie chart, monochrome"},
        {"selectedLanguage=7", "Automatic"},
        {"autoCleanEveryTime=100000", "10|10 min"},
        // 1 % of 8 GiB in MB, the store's own default.
        {"autoCleanByFreeSize=lots", "81"},
    };
    for (const auto &[stored, shown] : rows) {
        PreferencesRig rig;
        const QStringList entries = QString::fromLatin1(stored).split(u' ');
        for (const QString &entry : entries) {
            rig.store(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        }
        auto window = rig.open();
        QStringList texts;
        for (const QString &entry : entries) {
            texts << shownFor(*window, entry.section(u'=', 0, 0));
        }
        EXPECT_EQ(texts.join(u'|'), QString::fromUtf8(shown)) << stored;
    }
}

TEST(PreferencesWindow, PlusAndMinusAreDrawnAgainInTheNewPaletteHalfASecondAfterAThemeChange) {
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
    window->setPalette(light);
    window->setPalette(dark);
    EXPECT_EQ(themeChanged.size(), 0);
    EXPECT_TRUE(themeChanged.wait(1000));
    EXPECT_FALSE(themeChanged.wait(700));
    EXPECT_EQ(themeChanged.size(), 1);
    const QImage redrawn = window->tabApps->addButton->icon().pixmap(16, 16).toImage();
    EXPECT_EQ(redrawn.pixelColor(8, 8), QColor(Qt::white))
        << "\"+\" drawn again in the dark palette";
}

}  // namespace
}  // namespace tarnwell::testing
