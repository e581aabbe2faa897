// The preferences window and its tabs, each over a rig of its own.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolButton>

#include "BuildInfo.h"
#include "FakeUpdater.h"
#include "PreferencesRig.h"
#include "preferences/QRMConstants.h"
#include "ui/preferences/AppsTab.h"
#include "ui/preferences/ButtonImages.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/PreferencesWindowOpener.h"
#include "ui/preferences/QRMPopUpButton.h"
#include "ui/preferences/QRMStepper.h"
#include "ui/preferences/QRMTextFieldCell.h"
#include "ui/preferences/UpdatesTab.h"

namespace tarnwell::testing {
namespace {

TEST(PreferencesWindow, OneWindowAtATimeClosedByControlWOnlyAndAFreshOneAfter) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    opener.showPreferencesWindow();
    QPointer<QRMPreferencesWindowController> first = opener.preferencesWindowController();
    ASSERT_TRUE(first && QTest::qWaitForWindowActive(first));
    opener.showPreferencesWindow();
    EXPECT_EQ(opener.preferencesWindowController(), first);
    EXPECT_TRUE(first->isVisible());
    // Made once, reported once; bringing it forward is no new view.
    EXPECT_EQ(rig.usageEvents.contentViews,
              (std::vector<QStringList>{{"Preferences", "Window", "preferencesWindow"}}));

    for (const Qt::KeyboardModifiers modifiers :
         {Qt::ControlModifier | Qt::ShiftModifier, Qt::ControlModifier | Qt::AltModifier,
          Qt::KeyboardModifiers(Qt::NoModifier), Qt::KeyboardModifiers(Qt::ControlModifier)}) {
        ASSERT_FALSE(first.isNull()) << "closed by an earlier key";
        QTest::keyClick(first->tabGeneral->refreshRateSlider, Qt::Key_W, modifiers);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(first.isNull(), modifiers == Qt::ControlModifier) << modifiers.toInt();
    }
    EXPECT_EQ(opener.preferencesWindowController(), nullptr);

    // A change made while it was closed shows in the next one.
    rig.preferences.setRefreshRate(9);
    opener.showPreferencesWindow();
    ASSERT_NE(opener.preferencesWindowController(), nullptr);
    EXPECT_EQ(opener.preferencesWindowController()->tabGeneral->refreshRateSlider->value(), 9);
    EXPECT_EQ(rig.usageEvents.contentViews.size(), 2u);
}

// An edited settings file opens the window with the defaults shown: both
// "None" would leave the panel empty, and 81 MB is 1 % of 8 GiB.
TEST(PreferencesWindow, UnusableStoredValuesOpenWithTheDefaultShown) {
    for (const char *stored :
         {"refreshRate=86400", "refreshRate=fast", "statusBarText=-1", "statusBarIcon=9",
          "statusBarIcon=pie", "statusBarText=0 statusBarIcon=0", "selectedLanguage=7",
          "autoCleanEveryTime=100000", "autoCleanByFreeSize=lots"}) {
        PreferencesRig rig;
        for (const QString &entry : QString::fromLatin1(stored).split(u' ')) {
            rig.store(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        }
        auto window = rig.open();
        const GeneralTab &general = *window->tabGeneral;
        const CleaningTab &cleaning = *window->tabCleaning;
        EXPECT_EQ(QStringList(
                      {QString::number(general.refreshRateSlider->value()),
                       general.updateEverySec->text(), general.statusBarTextComboBox->currentText(),
                       general.statusBarIconComboBox->currentText(),
                       general.languageComboBox->currentText(),
                       QString::number(cleaning.autoCleanEveryTimeSlider->value()),
                       cleaning.min->text(), cleaning.autoCleanByFreeSizeTextField->text()}),
                  QStringList({"5", "5 sec", "Free memory, size", "Pie chart, monochrome",
                               "Automatic", "10", "10 min", "81"}))
            << stored;
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

// Text and icon are never both "None": each pop-up offers "None" only while
// the other choice is not none, and its indexes shift by one when it does not.
TEST(GeneralTab, ChoosingTextOrIconStoresTheTypeBehindTheItem) {
    const QStringList texts{"None", "Free memory, per cent", "Free memory, size"};
    const QStringList icons{"None", "Static icon, monochrome", "Static icon, 3D greyscale",
                            "Pie chart, monochrome", "Pie chart, colour"};
    // The stored text and icon types, the pop-up chosen in (text: true) and
    // the item chosen, the types stored then, and the panel's title.
    const std::tuple<const char *, int, int, bool, int, int, int, const char *> rows[] = {
        // No icon: the first text item is "per cent", type 1 (index 0 minus -1).
        {"FirstTextItemWithoutIcon", 2, 0, true, 0, 1, 0, "Free: 0.00 %"},
        // Icon "None" while the text shows the size: the text loses its "None".
        {"IconNoneWhileTextShowsSize", 2, 3, false, 0, 2, 0, "Free: 512.00 MB"},
        {"TextNoneDisablesLabelBox", 1, 3, true, 0, 0, 3, ""},
        // No text: the first icon item is the 2D icon, type 1.
        {"FirstIconItemWithoutText", 0, 4, false, 0, 0, 1, ""},
        {"LastIconItem", 2, 1, false, 4, 2, 4, "Free: 512.00 MB"},
    };
    for (const auto &[name, textType, iconType, inTextPopUp, index, storedText, storedIcon,
                      panelTitle] : rows) {
        SCOPED_TRACE(name);
        PreferencesRig rig;
        rig.store("statusBarText", textType);
        rig.store("statusBarIcon", iconType);
        rig.store("statusBarTextWithInfo", true);
        auto window = rig.open();
        GeneralTab &tab = *window->tabGeneral;

        choose(inTextPopUp ? tab.statusBarTextComboBox : tab.statusBarIconComboBox, index);

        EXPECT_EQ(rig.preferences.statusBarTextType(), storedText);
        EXPECT_EQ(rig.preferences.statusBarIconType(), storedIcon);
        EXPECT_EQ(items(tab.statusBarTextComboBox).contains("None"), storedIcon != 0);
        EXPECT_EQ(items(tab.statusBarIconComboBox).contains("None"), storedText != 0);
        EXPECT_EQ(tab.statusBarTextComboBox->currentText(), texts[storedText]);
        EXPECT_EQ(tab.statusBarIconComboBox->currentText(), icons[storedIcon]);
        // The label box means nothing without a text, but keeps its setting.
        EXPECT_EQ(tab.statusBarTextWithInfo->isEnabled(), storedText != 0);
        EXPECT_TRUE(rig.preferences.statusBarTextWithInfo());
        // The status item follows at once.
        ASSERT_FALSE(rig.statusItem.titles.empty());
        EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(panelTitle));
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

// A cleaning stops the refresh timer and restarts it when it ends; the
// periodic cleaning's timer runs only while checked, a cleaning or not.
TEST(GeneralTab, SlidersStoreTheirValueAndRestartTheirTimers) {
    for (const bool cleaning : {false, true}) {
        SCOPED_TRACE(cleaning ? "cleaning" : "idle");
        PreferencesRig rig;
        QRMAppDelegate &delegate = rig.start(cleaning);
        auto window = rig.open();
        ASSERT_EQ(window->tabGeneral->refreshRateSlider->value(), 5);
        QTest::keyClick(window->tabGeneral->refreshRateSlider, Qt::Key_Right);
        EXPECT_EQ(rig.preferences.refreshRate(), 6);
        EXPECT_EQ(window->tabGeneral->updateEverySec->text(), "6 sec");
        EXPECT_EQ(delegate.refreshMemoryInfoTimer().isActive(), !cleaning);
        EXPECT_EQ(delegate.refreshMemoryInfoTimer().interval(), cleaning ? 5000 : 6000);

        CleaningTab &tab = *window->tabCleaning;
        ASSERT_EQ(tab.autoCleanEveryTimeSlider->value(), 10);
        QTest::keyClick(tab.autoCleanEveryTimeSlider, Qt::Key_Right);
        EXPECT_EQ(rig.preferences.autoCleanEveryTime(), 11);
        EXPECT_EQ(tab.min->text(), "11 min");
        EXPECT_FALSE(delegate.autoCleanEveryTimeTimer().isActive());
        tab.autoCleanEveryTimeChecked->click();
        EXPECT_TRUE(delegate.autoCleanEveryTimeTimer().isActive());
        EXPECT_EQ(delegate.autoCleanEveryTimeTimer().interval(), 11 * 60 * 1000);
        QTest::keyClick(tab.autoCleanEveryTimeSlider, Qt::Key_Left);
        EXPECT_TRUE(delegate.autoCleanEveryTimeTimer().isActive());
        EXPECT_EQ(delegate.autoCleanEveryTimeTimer().interval(), 10 * 60 * 1000);
        tab.autoCleanEveryTimeChecked->click();
        EXPECT_FALSE(rig.preferences.autoCleanEveryTimeChecked());
        EXPECT_FALSE(delegate.autoCleanEveryTimeTimer().isActive());
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
    ASSERT_TRUE(QDir(rig.dir.filePath("autostart")).removeRecursively() &&
                QFile(rig.dir.filePath("autostart")).open(QIODevice::WriteOnly));
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

QStringList windowTexts(const QRMPreferencesWindowController &window) {
    QStringList texts{window.windowTitle()};
    for (int i = 0; i < window.tabView->count(); ++i) {
        texts << window.tabView->tabText(i);
    }
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (const auto *comboBox = qobject_cast<const QComboBox *>(widget)) {
            texts << items(comboBox);
        } else if (qobject_cast<const QLabel *>(widget) ||
                   qobject_cast<const QCheckBox *>(widget)) {
            texts << widget->property("text").toString();
        } else if (qobject_cast<const QGroupBox *>(widget)) {
            texts << widget->property("title").toString();
        }
    }
    texts.removeAll(QString());
    return texts;
}

// The letters after '&' in a page's check boxes and control labels.
QStringList mnemonics(const QWidget &page) {
    QStringList letters;
    for (const QWidget *control : page.findChildren<QWidget *>()) {
        const auto *label = qobject_cast<const QLabel *>(control);
        if (qobject_cast<const QCheckBox *>(control) || (label && label->buddy())) {
            const QString text = control->property("text").toString();
            const qsizetype at = text.indexOf(u'&');
            letters << (at < 0 ? QString() : text.mid(at + 1, 1).toLower());
        }
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

// With 8 GiB installed the bound is 4096 MB and the minimum 1; read unsigned,
// a negative number is huge.
TEST(CleaningTab, ThresholdsAreClampedWhenTypedOrStepped) {
    PreferencesRig rig;
    auto window = rig.open();
    CleaningTab &tab = *window->tabCleaning;
    // The free-memory field (true) or the inactive-memory one, typed, stored.
    const std::tuple<bool, const char *, qint64> rows[] = {
        {true, "5000", 4096},
        {true, "4096", 4096},
        {true, "0", 1},
        {true, "-1", 4096},
        {true, "abc", 1},
        {false, "", 1},
        {false, " 12MB", 12},
        {false, "99999999999999999999999", 4096},
        {false, "-99999999999999999999999", 4096}};
    const auto type = [](QLineEdit *field, const char *text) {
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Backspace);
        QTest::keyClicks(field, QString::fromUtf8(text));
        QTest::keyClick(field, Qt::Key_Return);
    };
    for (const auto &[free, typed, stored] : rows) {
        SCOPED_TRACE(typed);
        QLineEdit *field =
            free ? tab.autoCleanByFreeSizeTextField : tab.autoCleanByInactiveSizeTextField;
        type(field, typed);
        EXPECT_EQ(free ? rig.preferences.autoCleanByFreeSize()
                       : rig.preferences.autoCleanByInactiveSize(),
                  stored);
        EXPECT_EQ(field->text(), QString::number(stored));
        EXPECT_EQ(
            (free ? tab.autoCleanByFreeSizeStepper : tab.autoCleanByInactiveSizeStepper)->value(),
            double(stored));
    }

    // The arrow key and the stepper move up to a bound and stop there.
    type(tab.autoCleanByFreeSizeTextField, "4095");
    QTest::keyClick(tab.autoCleanByFreeSizeTextField, Qt::Key_Up);
    EXPECT_EQ(rig.preferences.autoCleanByFreeSize(), 4096);
    tab.autoCleanByFreeSizeStepper->upButton()->click();
    EXPECT_EQ(rig.preferences.autoCleanByFreeSize(), 4096);
    EXPECT_EQ(tab.autoCleanByFreeSizeTextField->text(), "4096");
    type(tab.autoCleanByInactiveSizeTextField, "2");
    tab.autoCleanByInactiveSizeStepper->downButton()->click();
    tab.autoCleanByInactiveSizeStepper->downButton()->click();
    EXPECT_EQ(rig.preferences.autoCleanByInactiveSize(), 1);
}

// 2 GiB installed: a bound of 1024 MB; no statistics yet: 0, below the minimum.
TEST(CleaningTab, OpeningLowersThresholdsAboveTheBound) {
    for (const auto &[installed, shown] :
         {std::pair<std::optional<uint64_t>, qint64>{2 * kGiB, 1024}, {std::nullopt, 0}}) {
        SCOPED_TRACE(shown);
        PreferencesRig rig(installed);
        rig.store("autoCleanByFreeSize", 3000);
        rig.store("autoCleanByInactiveSize", 9000);
        auto window = rig.open();
        EXPECT_EQ(rig.preferences.autoCleanByFreeSize(), shown);
        EXPECT_EQ(rig.preferences.autoCleanByInactiveSize(), shown);
        EXPECT_EQ(window->tabCleaning->autoCleanByInactiveSizeTextField->text(),
                  QString::number(shown));
    }
}

// 512 MiB free, below a threshold of 1024 MB: switching the box on while idle
// starts a cleaning; switching it off, or on during a cleaning, does not.
TEST(CleaningTab, ThresholdBoxChecksTheRulesWhenSwitchedOnAndIdle) {
    for (const auto &[checkedBefore, cleaning, cleaningsAfter] :
         {std::tuple{false, false, 1u}, {true, false, 0u}, {false, true, 0u}}) {
        SCOPED_TRACE(::testing::Message() << checkedBefore << cleaning);
        PreferencesRig rig;
        rig.store("autoCleanByFreeSize", 1024);
        rig.store("autoCleanByFreeSizeChecked", checkedBefore);
        rig.start(cleaning);
        const size_t cleaningsBefore = rig.pendingCleanings.size();
        auto window = rig.open();
        window->tabCleaning->autoCleanByFreeSizeChecked->click();
        EXPECT_EQ(rig.preferences.autoCleanByFreeSizeChecked(), !checkedBefore);
        EXPECT_EQ(rig.pendingCleanings.size() - cleaningsBefore, cleaningsAfter);
    }
}

// The pop-up's feeds in its order (stable, beta, alpha), then one it does not offer.
QString feedURL(int index) {
    const char *paths[] = {"/download/appcast.xml", "/download/beta/appcast.xml",
                           "/download/alpha/appcast.xml"};
    return index < 3 ? QRMConstants::configuredSiteURL() + QLatin1String(paths[index])
                     : QStringLiteral("https://old.site.test/appcast.xml");
}

// The pop-up shows the feed in use; choosing another stores it and runs a
// silent check, choosing the shown one does nothing.
TEST(UpdatesTab, FeedPopUpSwitchesOnlyToAnotherFeed) {
    // Stored, shown and chosen feeds, and whether choosing switches; an
    // unknown feed shows as stable, so choosing stable switches.
    const std::tuple<int, int, int, bool> rows[] = {
        {0, 0, 0, false}, {2, 2, 2, false}, {0, 0, 1, true}, {1, 1, 2, true}, {3, 0, 0, true}};
    for (const auto &[stored, shownIndex, chosenIndex, switches] : rows) {
        SCOPED_TRACE(feedURL(stored).toStdString() + " to " + std::to_string(chosenIndex));
        PreferencesRig rig;
        rig.store("FeedURL", feedURL(stored));
        test::FakeUpdater updater;
        rig.preferences.setUpdater(&updater);
        auto window = rig.open();
        QComboBox *popUp = window->tabUpdates->updatesFeedNSPopUpButton;
        EXPECT_EQ(popUp->currentIndex(), shownIndex);
        choose(popUp, chosenIndex);
        const QString chosen = feedURL(chosenIndex);
        EXPECT_EQ(rig.preferences.updatesFeedURL().toString(), switches ? chosen : feedURL(stored));
        EXPECT_EQ(updater.calls, switches ? QStringList({chosen, "check"}) : QStringList());
        rig.preferences.setUpdater(nullptr);
    }
}

TEST(UpdatesTab, AutomaticChecksIntervalAndDownloadsFollowTheUpdaterBesideVersionAndBuild) {
    PreferencesRig rig;
    FakeUpdateChecks &updater = rig.updater;
    updater.checks = true;
    updater.interval = updateInterval::kWeekly;
    auto window = rig.open();
    UpdatesTab &tab = *window->tabUpdates;
    EXPECT_TRUE(tab.automaticUpdateCheckBox->isChecked());
    EXPECT_EQ(items(tab.updateCheckInterval),
              QStringList({"Hourly", "Daily", "Weekly", "Monthly"}));
    EXPECT_EQ(tab.updateCheckInterval->currentText(), "Weekly");
    EXPECT_FALSE(tab.automaticDowloadUpdateCheckBox->isChecked());
    EXPECT_EQ(tab.versionAndBuildNumberInfo->text(),
              QStringLiteral("Version %1 Build %2").arg(kMarketingVersion, kBuildNumber));

    choose(tab.updateCheckInterval, 3);
    EXPECT_EQ(updater.interval, 2'629'800);
    tab.automaticDowloadUpdateCheckBox->click();
    EXPECT_TRUE(updater.downloads);
    tab.automaticUpdateCheckBox->click();
    EXPECT_FALSE(updater.checks);
    EXPECT_FALSE(tab.updateCheckInterval->isEnabled());
    EXPECT_FALSE(tab.automaticDowloadUpdateCheckBox->isEnabled());
}

// The tab over the rig's store and controller, whose application events the
// test sees, and "running applications" the test chooses.
class AppsTabTest : public ::testing::Test {
protected:
    AppsTabTest() {
        rig.preferences.setShowApplicationsFromApplicationsFolder(false);
        rig.preferences.setShowRunningApplicationsAndUtilities(true);
        rig.start();
    }

    AppsTab &open() {
        tab = std::make_unique<AppsTab>(
            rig.preferences, *rig.delegate, fakeLocalizer(),
            AppsTabSources{nullptr, [this](const QString &) { return running; },
                           rig.dir.filePath("icons"), true, "en"});
        waitForMenu();
        return *tab;
    }
    void waitForMenu() {
        QSignalSpy prepared(tab.get(), &AppsTab::menuItemsPrepared);
        EXPECT_TRUE(prepared.wait(10'000));
    }
    // The application at index of the "+" menu, chosen as a click would.
    void choose(int index) {
        std::unique_ptr<QMenu> menu(tab->menuForPopUp());
        menu->actions().at(index)->trigger();
    }
    QStringList storedIds() {
        QStringList ids;
        for (const QVariantMap &record :
             rig.preferences.applicationsAndUtilitiesToMonitoring().value_or(
                 QList<QVariantMap>())) {
            ids.append(record.value("ID").toString());
        }
        return ids;
    }
    QString iconFile(const QString &id) const { return rig.dir.filePath("icons/" + id + ".png"); }

    PreferencesRig rig;
    QList<ApplicationCandidate> running{{"zeta", "zeta.desktop", ""},
                                        {"Alpha", "alpha.desktop", ""},
                                        {"Alpha", "alpha.desktop", ""},
                                        {"Alpha Beta", "alpha.desktop", ""}};
    std::unique_ptr<AppsTab> tab;
};

TEST_F(AppsTabTest, MenuOffersEachNameAndIdOnceSortedAndOnlyFromChosenSources) {
    open();
    QStringList names;
    for (const AppsTab::Entry &entry : tab->menu()) {
        names.append(entry.name);
        EXPECT_FALSE(entry.icon.isNull()) << entry.name.toStdString();
    }
    // Same id under another name is offered again; case does not sort first.
    EXPECT_EQ(names, (QStringList{"Alpha", "Alpha Beta", "zeta"}));
    EXPECT_TRUE(tab->addButton->isEnabled());

    tab->showRunningApplicationsAndUtilities->click();
    waitForMenu();
    EXPECT_FALSE(rig.preferences.showRunningApplicationsAndUtilities());
    EXPECT_FALSE(tab->addButton->isEnabled());
    std::unique_ptr<QMenu> empty(tab->menuForPopUp());
    ASSERT_EQ(empty->actions().size(), 1);
    EXPECT_TRUE(empty->actions().at(0)->text().isEmpty());
}

TEST_F(AppsTabTest, ChoosingStoresInOrderBoxesRewriteTheListAndIconlessRecordsGo) {
    open();
    choose(2);  // zeta
    choose(0);  // Alpha
    EXPECT_EQ(storedIds(), (QStringList{"alpha.desktop", "zeta.desktop"}));
    const QVariantMap stored = rig.preferences.applicationsAndUtilitiesToMonitoring()->at(1);
    for (const char *event :
         {"DidLaunch", "DidTerminate", "DidHide", "DidUnhide", "DidActivate", "DidDeactivate"}) {
        EXPECT_EQ(stored.value(event), QVariant(false)) << event;
    }
    EXPECT_TRUE(QFile::exists(iconFile("zeta.desktop")));
    EXPECT_EQ(tab->appsTable->currentRow(), 0);

    choose(2);
    EXPECT_EQ(tab->tableDataSource().size(), 2);
    EXPECT_EQ(tab->appsTable->selectionModel()->selectedRows().at(0).row(), 1);
    EXPECT_EQ(tab->appsTable->rowHeight(0), 44);

    // A record whose icon file is gone (a link is no icon) is dropped at the
    // next opening; the store keeps it until the next save.
    tab.reset();
    ASSERT_TRUE(QFile::remove(iconFile("alpha.desktop")));
    ASSERT_TRUE(QFile::link(iconFile("zeta.desktop"), iconFile("alpha.desktop")));
    open();
    ASSERT_EQ(tab->tableDataSource().size(), 1);
    EXPECT_EQ(tab->tableDataSource()[0].record.value("ID"), "zeta.desktop");
    EXPECT_EQ(storedIds().size(), 2);
    EXPECT_FALSE(tab->removeButton->isEnabled());

    // A box rewrites the list, and the controller starts watching at once.
    tab->appsTable->selectRow(0);
    EXPECT_TRUE(tab->appsBasicCleaning->isVisibleTo(tab.get()));
    EXPECT_EQ(rig.applicationEvents.starts, 0);
    tab->buttonDidActivate->click();
    EXPECT_EQ(storedIds(), QStringList{"zeta.desktop"});
    EXPECT_EQ(rig.preferences.applicationsAndUtilitiesToMonitoring()->at(0).value("DidActivate"),
              QVariant(true));
    EXPECT_EQ(rig.applicationEvents.starts, 1);
    tab->removeButton->click();
    EXPECT_TRUE(storedIds().isEmpty());
    EXPECT_FALSE(tab->removeButton->isEnabled());
    EXPECT_FALSE(rig.applicationEvents.handler) << "nothing left to watch";
}

TEST_F(AppsTabTest, WaylandSessionSaysEventsAreNotAvailable) {
    tab = std::make_unique<AppsTab>(rig.preferences, *rig.delegate, fakeLocalizer(),
                                    AppsTabSources{nullptr, {}, rig.dir.path(), false, "en"});
    EXPECT_TRUE(tab->applicationEventsNotAvailable->isVisibleTo(tab.get()));
    EXPECT_EQ(tab->applicationEventsNotAvailable->text(), "ApplicationEventsNotAvailable");
}

TEST(QRMTextFieldCellTest, RowSplitsIntoIconSquareTitleAndSubtitle) {
    const QRect row(0, 0, 300, 44);
    EXPECT_EQ(QRMTextFieldCell::imageRectForBounds(row), QRect(5, 5, 34, 34));
    EXPECT_EQ(QRMTextFieldCell::titleRectForBounds(row), QRect(44, 5, 256, 17));
    EXPECT_EQ(QRMTextFieldCell::subtitleRectForBounds(row), QRect(44, 22, 256, 17));
    // Smaller images keep their size, centred; larger ones shrink to fit.
    EXPECT_EQ(QRMTextFieldCell::imageRectForFrame(QRect(5, 5, 34, 34), 16, 16),
              QRect(14, 14, 16, 16));
    EXPECT_EQ(QRMTextFieldCell::imageRectForFrame(QRect(5, 5, 34, 34), 68, 34),
              QRect(5, 14, 34, 17));
}

}  // namespace
}  // namespace tarnwell::testing
