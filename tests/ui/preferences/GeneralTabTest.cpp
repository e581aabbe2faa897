#include <gtest/gtest.h>

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QSignalSpy>
#include <QSlider>
#include <QTabWidget>

#include "PreferencesRig.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"

namespace tarnwell::testing {
namespace {

const QString kNone = QStringLiteral("None");
const QString kPercent = QStringLiteral("Free memory, per cent");
const QString kSize = QStringLiteral("Free memory, size");
const QStringList kIcons{"Static icon, monochrome", "Static icon, 3D greyscale",
                         "Pie chart, monochrome", "Pie chart, colour"};

// Text and icon are never both "None": each pop-up offers "None" only while
// the other choice is not none, and its indexes shift by one when it does not.
TEST(GeneralTab, ChoosingTextOrIconStoresTheTypeBehindTheItem) {
    const struct {
        const char *name;
        int textType, iconType;
        bool inTextPopUp;  // else in the icon pop-up
        int index;         // the item chosen
        int storedText, storedIcon;
        bool textOffersNone, iconOffersNone;  // afterwards
        const char *panelTitle;
    } rows[] = {
        // No icon: the first text item is "per cent", type 1 (index 0 minus -1).
        {"FirstTextItemWithoutIcon", 2, 0, true, 0, 1, 0, false, true, "Free: 0.00 %"},
        // Icon "None" while the text shows the size: the text loses its "None".
        {"IconNoneWhileTextShowsSize", 2, 3, false, 0, 2, 0, false, true, "Free: 512.00 MB"},
        {"TextNoneDisablesLabelBox", 1, 3, true, 0, 0, 3, true, false, ""},
        // No text: the first icon item is the 2D icon, type 1.
        {"FirstIconItemWithoutText", 0, 4, false, 0, 0, 1, true, false, ""},
        {"LastIconItem", 2, 1, false, 4, 2, 4, true, true, "Free: 512.00 MB"},
    };
    for (const auto &c : rows) {
        SCOPED_TRACE(c.name);
        PreferencesRig rig;
        rig.store("statusBarText", c.textType);
        rig.store("statusBarIcon", c.iconType);
        rig.store("statusBarTextWithInfo", true);
        auto window = rig.open();
        GeneralTab &tab = *window->tabGeneral;

        choose(c.inTextPopUp ? tab.statusBarTextComboBox : tab.statusBarIconComboBox, c.index);

        EXPECT_EQ(rig.preferences.statusBarTextType(), c.storedText);
        EXPECT_EQ(rig.preferences.statusBarIconType(), c.storedIcon);
        EXPECT_EQ(items(tab.statusBarTextComboBox).contains(kNone), c.textOffersNone);
        EXPECT_EQ(items(tab.statusBarIconComboBox).contains(kNone), c.iconOffersNone);
        EXPECT_EQ(tab.statusBarTextComboBox->currentText(),
                  c.storedText == 0 ? kNone : (c.storedText == 1 ? kPercent : kSize));
        EXPECT_EQ(tab.statusBarIconComboBox->currentText(),
                  c.storedIcon == 0 ? kNone : kIcons[c.storedIcon - 1]);
        // The label box means nothing without a text, but keeps its setting.
        EXPECT_EQ(tab.statusBarTextWithInfo->isEnabled(), c.storedText != 0);
        EXPECT_TRUE(rig.preferences.statusBarTextWithInfo());
        // The status item follows at once.
        ASSERT_FALSE(rig.statusItem.titles.empty());
        EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(c.panelTitle));
    }
}

TEST(GeneralTab, PanelTextPlacementAndColourAreStoredAsChosen) {
    PreferencesRig rig;
    rig.store("statusBarAppearance", 7);  // an edited file: shown as automatic
    auto window = rig.open();
    GeneralTab &tab = *window->tabGeneral;
    EXPECT_EQ(tab.statusBarAppearanceComboBox->currentText(), "As the desktop says");

    choose(tab.statusBarTextPlacementComboBox, 2);
    choose(tab.statusBarAppearanceComboBox, 2);
    EXPECT_EQ(rig.preferences.statusBarTextPlacement(), 2);
    EXPECT_EQ(rig.preferences.statusBarAppearance(), 2);
    EXPECT_EQ(tab.statusBarTextPlacementComboBox->currentText(), "Drawn into the icon");
}

TEST(GeneralTab, RefreshSliderRestartsTheTimerUnlessACleaningRuns) {
    for (const bool cleaning : {false, true}) {
        SCOPED_TRACE(cleaning ? "cleaning" : "idle");
        PreferencesRig rig;
        QRMAppDelegate &delegate = rig.start(cleaning);
        auto window = rig.open();
        ASSERT_EQ(window->tabGeneral->refreshRateSlider->value(), 5);

        QTest::keyClick(window->tabGeneral->refreshRateSlider, Qt::Key_Right);

        EXPECT_EQ(rig.preferences.refreshRate(), 6);
        EXPECT_EQ(window->tabGeneral->updateEverySec->text(), "6 sec");
        // A cleaning stops the refresh timer and restarts it when it ends.
        EXPECT_EQ(delegate.refreshMemoryInfoTimer().isActive(), !cleaning);
        EXPECT_EQ(delegate.refreshMemoryInfoTimer().interval(), cleaning ? 5000 : 6000);
    }
}

// The first run adds the login item, a later one leaves the user's choice; the
// box shows the folder as re-read after each click.
TEST(GeneralTab, LoginItemBoxShowsTheFolderReReadAfterTheClick) {
    PreferencesRig rig;
    rig.start();
    EXPECT_TRUE(rig.loginItems.findApplicationAtLoginItems(rig.applicationPath));
    rig.loginItems.removeApplicationFromLoginItems(rig.applicationPath);
    rig.start();
    auto window = rig.open();
    QCheckBox *box = window->tabGeneral->startApplicationWhenComputerStarts;
    ASSERT_FALSE(box->isChecked());

    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return box->isChecked(); }));
    EXPECT_TRUE(rig.loginItems.findApplicationAtLoginItems(rig.applicationPath));

    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !box->isChecked(); }));
    EXPECT_FALSE(rig.loginItems.findApplicationAtLoginItems(rig.applicationPath));

    // A folder that cannot be written: the click shows at once, the re-read
    // takes it back.
    QFile blocker(rig.dir.filePath("autostart"));
    ASSERT_TRUE(QDir(rig.dir.filePath("autostart")).removeRecursively());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ::testing::internal::CaptureStderr();
    box->click();
    EXPECT_TRUE(box->isChecked());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !box->isChecked(); }));
    EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST(GeneralTab, TaskbarBoxSwitchedOffAsksForTheWindowAgain) {
    PreferencesRig rig;
    rig.store("showDockIcon", true);
    auto window = rig.open();
    QSignalSpy requests(rig.delegate.get(), &QRMAppDelegate::preferencesWindowRequested);
    QCheckBox *box = window->tabGeneral->showDockIcon;
    ASSERT_TRUE(box->isChecked());

    box->click();
    EXPECT_FALSE(rig.preferences.showDockIcon());
    EXPECT_EQ(rig.dockIconChanges, 1);
    EXPECT_TRUE(requests.wait(1000));

    box->click();
    EXPECT_TRUE(rig.preferences.showDockIcon());
    EXPECT_EQ(rig.dockIconChanges, 2);
    EXPECT_FALSE(requests.wait(300));
    EXPECT_EQ(requests.size(), 1);
}

// Every text a person reads in the window.
QStringList windowTexts(const QRMPreferencesWindowController &window) {
    QStringList texts{window.windowTitle()};
    for (int i = 0; i < window.tabView->count(); ++i) {
        texts << window.tabView->tabText(i);
    }
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        texts << label->text();
    }
    for (const QAbstractButton *button : window.findChildren<QCheckBox *>()) {
        texts << button->text();
    }
    for (const QGroupBox *box : window.findChildren<QGroupBox *>()) {
        texts << box->title();
    }
    for (const QComboBox *comboBox : window.findChildren<QComboBox *>()) {
        texts << items(comboBox);
    }
    texts.removeAll(QString());
    return texts;
}

// The letters after '&' in a page's check boxes and control labels.
QStringList mnemonics(const QWidget &page) {
    QStringList texts;
    for (const QCheckBox *box : page.findChildren<QCheckBox *>()) {
        texts << box->text();
    }
    for (const QLabel *label : page.findChildren<QLabel *>()) {
        if (label->buddy()) {
            texts << label->text();
        }
    }
    QStringList letters;
    for (const QString &text : texts) {
        const qsizetype at = text.indexOf(u'&');
        letters << (at >= 0 && at + 1 < text.size() ? text.mid(at + 1, 1).toLower() : QString());
    }
    return letters;
}

// Each language in turn, Russian last: every text changes at once, and every
// control keeps a mnemonic of its own.
TEST(GeneralTab, LanguageSwitchRetitlesEveryTextAtOnce) {
    PreferencesRig rig;
    auto window = rig.open();
    const QStringList english = windowTexts(*window);
    ASSERT_TRUE(english.contains("General"));

    for (const int language : {1, 3, 2}) {
        choose(window->tabGeneral->languageComboBox, language);
        for (const QWidget *page : {static_cast<QWidget *>(window->tabGeneral),
                                    static_cast<QWidget *>(window->tabCleaning)}) {
            const QStringList letters = mnemonics(*page);
            ASSERT_FALSE(letters.isEmpty());
            EXPECT_FALSE(letters.contains(QString())) << letters.join(u',').toStdString();
            EXPECT_EQ(QSet<QString>(letters.begin(), letters.end()).size(), letters.size())
                << language << ": " << letters.join(u',').toStdString();
        }
    }
    EXPECT_EQ(rig.preferences.selectedLanguage(), 2);
    EXPECT_EQ(rig.preferences.appleLanguages(), QStringList{"ru"});
    EXPECT_EQ(window->tabGeneral->updateEverySec->text(), "5 сек");
    const QStringList russian = windowTexts(*window);
    EXPECT_EQ(russian.size(), english.size());
    for (const QString &text : russian) {
        EXPECT_TRUE(std::any_of(text.begin(), text.end(), [](QChar c) {
            return c.script() == QChar::Script_Cyrillic;
        })) << text.toStdString();
    }
    // Refilled in the new language, the pop-up still shows the choice.
    EXPECT_EQ(window->tabGeneral->languageComboBox->currentIndex(), 2);

    choose(window->tabGeneral->languageComboBox, 0);
    EXPECT_EQ(rig.preferences.appleLanguages(), std::nullopt);
    EXPECT_EQ(rig.preferences.selectedLanguage(), 0);
    EXPECT_EQ(windowTexts(*window), english);
}

}  // namespace
}  // namespace tarnwell::testing
