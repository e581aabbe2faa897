#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>

#include "PreferencesRig.h"
#include "ui/preferences/AppsTab.h"
#include "ui/preferences/QRMPopUpButton.h"
#include "ui/preferences/QRMTextFieldCell.h"

namespace tarnwell::testing {
namespace {

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

TEST_F(AppsTabTest, ChoosingStoresAtOnceInOrderChoosingAgainOnlySelectsAndIconlessRecordsGo) {
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
}

TEST_F(AppsTabTest, CheckBoxRewritesTheListAndTheControllerWatchesAtOnce) {
    open();
    choose(2);
    EXPECT_TRUE(tab->appsBasicCleaning->isVisibleTo(tab.get()));
    EXPECT_EQ(rig.applicationEvents.starts, 0);
    tab->buttonDidActivate->click();
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

// Geometry of one 44-pixel row.
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
