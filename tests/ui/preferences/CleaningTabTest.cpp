#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QToolButton>

#include "PreferencesRig.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/QRMStepper.h"

namespace tarnwell::testing {
namespace {

// With 8 GiB installed the bound is 4096 MB and the minimum 1; read unsigned,
// a negative number is huge.
TEST(CleaningTab, ThresholdsAreClampedWhenTypedOrStepped) {
    PreferencesRig rig;
    auto window = rig.open();
    CleaningTab &tab = *window->tabCleaning;
    const struct {
        bool free;  // else the inactive-memory threshold
        const char *typed;
        qint64 stored;
    } rows[] = {{true, "5000", 4096},
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
    for (const auto &row : rows) {
        SCOPED_TRACE(row.typed);
        QLineEdit *field =
            row.free ? tab.autoCleanByFreeSizeTextField : tab.autoCleanByInactiveSizeTextField;
        type(field, row.typed);

        EXPECT_EQ(row.free ? rig.preferences.autoCleanByFreeSize()
                           : rig.preferences.autoCleanByInactiveSize(),
                  row.stored);
        EXPECT_EQ(field->text(), QString::number(row.stored));
        EXPECT_EQ((row.free ? tab.autoCleanByFreeSizeStepper : tab.autoCleanByInactiveSizeStepper)
                      ->value(),
                  double(row.stored));
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

TEST(CleaningTab, OpeningLowersThresholdsAboveTheBound) {
    struct {
        const char *name;
        std::optional<uint64_t> installed;
        qint64 shown;
    } const rows[] = {
        {"SmallerMachine", 2 * kGiB, 1024},
        // No statistics yet: the bound is 0, below the minimum.
        {"NoRecord", std::nullopt, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        PreferencesRig rig(row.installed);
        rig.store("autoCleanByFreeSize", 3000);
        rig.store("autoCleanByInactiveSize", 9000);
        auto window = rig.open();
        EXPECT_EQ(rig.preferences.autoCleanByFreeSize(), row.shown);
        EXPECT_EQ(rig.preferences.autoCleanByInactiveSize(), row.shown);
        EXPECT_EQ(window->tabCleaning->autoCleanByInactiveSizeTextField->text(),
                  QString::number(row.shown));
    }
}

TEST(CleaningTab, ThresholdBoxChecksTheRulesWhenSwitchedOnAndIdle) {
    struct {
        const char *name;
        bool checkedBefore;
        bool cleaning;
        size_t cleaningsAfter;
    } const rows[] = {
        // 512 MiB free, below a threshold of 1024 MB: a cleaning is due.
        {"SwitchedOn", false, false, 1},
        {"SwitchedOff", true, false, 0},
        {"SwitchedOnWhileCleaning", false, true, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        PreferencesRig rig;
        rig.store("autoCleanByFreeSize", 1024);
        rig.store("autoCleanByFreeSizeChecked", row.checkedBefore);
        rig.start(row.cleaning);
        const size_t cleaningsBefore = rig.pendingCleanings.size();
        auto window = rig.open();

        window->tabCleaning->autoCleanByFreeSizeChecked->click();
        EXPECT_EQ(rig.preferences.autoCleanByFreeSizeChecked(), !row.checkedBefore);
        EXPECT_EQ(rig.pendingCleanings.size() - cleaningsBefore, row.cleaningsAfter);
    }
}

TEST(CleaningTab, IntervalRestartsThePeriodicTimerOnlyWhileChecked) {
    for (const bool cleaning : {false, true}) {
        SCOPED_TRACE(cleaning ? "cleaning" : "idle");
        PreferencesRig rig;
        QRMAppDelegate &delegate = rig.start(cleaning);
        auto window = rig.open();
        CleaningTab &tab = *window->tabCleaning;
        ASSERT_EQ(tab.autoCleanEveryTimeSlider->value(), 10);

        // Off: the value and its label change, the timer stays off.
        QTest::keyClick(tab.autoCleanEveryTimeSlider, Qt::Key_Right);
        EXPECT_EQ(rig.preferences.autoCleanEveryTime(), 11);
        EXPECT_EQ(tab.min->text(), "11 min");
        EXPECT_FALSE(delegate.autoCleanEveryTimeTimer().isActive());

        tab.autoCleanEveryTimeChecked->click();
        EXPECT_TRUE(delegate.autoCleanEveryTimeTimer().isActive());
        EXPECT_EQ(delegate.autoCleanEveryTimeTimer().interval(), 11 * 60 * 1000);

        // On: restarted with the new interval, a running cleaning or not.
        QTest::keyClick(tab.autoCleanEveryTimeSlider, Qt::Key_Left);
        EXPECT_TRUE(delegate.autoCleanEveryTimeTimer().isActive());
        EXPECT_EQ(delegate.autoCleanEveryTimeTimer().interval(), 10 * 60 * 1000);

        tab.autoCleanEveryTimeChecked->click();
        EXPECT_FALSE(rig.preferences.autoCleanEveryTimeChecked());
        EXPECT_FALSE(delegate.autoCleanEveryTimeTimer().isActive());
    }
}

}  // namespace
}  // namespace tarnwell::testing
