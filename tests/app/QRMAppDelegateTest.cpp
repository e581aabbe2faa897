#include <thread>

#include <QSignalSpy>

#include <gtest/gtest.h>

#include "AppFakes.h"
#include "BuildInfo.h"

namespace tarnwell::testing {
namespace {

class CleaningController : public ::testing::Test {
protected:
    void SetUp() override {
        rig.engine.nextSample = recordWith(1000 * kMiB);
        delegate = rig.start();
        delegate->applicationDidFinishLaunching();
    }

    // Lets the engine's "memoryCleaned" reach the main thread.
    void finishCleaning(const QRMStatisticsRecord &after) {
        rig.engine.nextSample = after;
        QSignalSpy changed(delegate.get(), &QRMAppDelegate::memoryCleaningInProgressChanged);
        rig.engine.announceCleaned();
        ASSERT_TRUE(changed.wait());
    }

    QRMMenuItem *cleanItem() { return delegate->statusMenu().cleanMemoryNow; }

    ControllerRig rig;
    std::unique_ptr<QRMAppDelegate> delegate;
};

TEST_F(CleaningController, CleaningStopsTheRefreshAndShowsProgress) {
    ASSERT_TRUE(delegate->refreshMemoryInfoTimer().isActive());
    delegate->cleanMemoryNow();

    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.engine.cleaningRequests, 1);
    EXPECT_FALSE(delegate->refreshMemoryInfoTimer().isActive());
    EXPECT_FALSE(cleanItem()->isEnabled());
    EXPECT_EQ(cleanItem()->title(), "Cleaning...");
    EXPECT_EQ(rig.statusItem.titles.back(), "Cleaning...");

    // The refresh tick takes no sample while the engine works.
    const int refreshes = rig.engine.refreshes;
    delegate->refreshMemoryInfo();
    EXPECT_EQ(rig.engine.refreshes, refreshes);
}

TEST_F(CleaningController, RequestWhileCleaningIsDropped) {
    delegate->cleanMemoryNow();
    delegate->cleanMemoryNow();
    EXPECT_EQ(rig.engine.cleaningRequests, 1);
}

TEST_F(CleaningController, EveryCompletedCleaningIsAUsageEvent) {
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(1000 * kMiB));
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(1500 * kMiB));
    EXPECT_EQ(rig.usageEvents.cleanings, 2);
}

TEST_F(CleaningController, FreedMemoryIsRecordedAndAnnounced) {
    rig.settings.max = 100 * kMiB;
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(1512 * kMiB));

    const uint64_t freed = 512 * kMiB;
    EXPECT_FALSE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.settings.last, freed);
    EXPECT_EQ(rig.settings.max, freed);
    EXPECT_EQ(rig.settings.total, freed);
    EXPECT_EQ(rig.statusItem.titles.back(), "512.00 MB cleaned");
    ASSERT_EQ(rig.notifier.sent.size(), 1u);
    EXPECT_EQ(rig.notifier.sent[0].title, "Tarnwell");
    EXPECT_EQ(rig.notifier.sent[0].text, "512.00 MB cleaned");
    EXPECT_EQ(rig.notifier.sent[0].sound, "message-new-instant");
    EXPECT_TRUE(cleanItem()->isEnabled());
    EXPECT_EQ(cleanItem()->title(), "Clean memory now");
    EXPECT_TRUE(delegate->refreshMemoryInfoTimer().isActive());
}

TEST_F(CleaningController, SmallerCleaningKeepsTheMaximum) {
    rig.settings.max = 900 * kMiB;
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(1100 * kMiB));
    EXPECT_EQ(rig.settings.last, 100 * kMiB);
    EXPECT_EQ(rig.settings.max, 900 * kMiB);
}

TEST_F(CleaningController, NothingFreedShowsNothingToClean) {
    rig.settings.last = 7;
    rig.settings.max = 9;
    rig.settings.total = 11;
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(1000 * kMiB));

    EXPECT_EQ(rig.statusItem.titles.back(), "Nothing to clean");
    EXPECT_EQ(rig.settings.last, 0u);
    EXPECT_EQ(rig.settings.max, 9u);
    EXPECT_EQ(rig.settings.total, 11u);
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_TRUE(cleanItem()->isEnabled());
    EXPECT_TRUE(delegate->refreshMemoryInfoTimer().isActive());
}

TEST_F(CleaningController, NotificationsCanBeTurnedOff) {
    rig.settings.notifications = false;
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(2000 * kMiB));
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_EQ(rig.settings.last, 1000 * kMiB);
}

TEST_F(CleaningController, IconOnlyTitleIsNeverTouched) {
    rig.settings.textType = 0;
    const size_t titles = rig.statusItem.titles.size();
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(2000 * kMiB));
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(2000 * kMiB));
    // Only the refreshes wrote the (empty) title.
    for (size_t i = titles; i < rig.statusItem.titles.size(); ++i) {
        EXPECT_EQ(rig.statusItem.titles[i], "");
    }
}

TEST_F(CleaningController, ChainedThresholdCleaningsCountAsOne) {
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    delegate->cleanMemoryNow();
    ASSERT_EQ(rig.engine.cleaningRequests, 1);

    // Still below the threshold after the first cleaning: the policy starts
    // the next one straight away, and nothing is recorded yet.
    finishCleaning(recordWith(1010 * kMiB));
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.engine.cleaningRequests, 2);
    EXPECT_EQ(rig.settings.last, 0u);
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_FALSE(cleanItem()->isEnabled());
    EXPECT_FALSE(delegate->refreshMemoryInfoTimer().isActive());

    finishCleaning(recordWith(3000 * kMiB));
    EXPECT_FALSE(delegate->memoryCleaningInProgress());
    // Measured from the first cleaning's "before".
    EXPECT_EQ(rig.settings.last, 2000 * kMiB);
    EXPECT_EQ(rig.settings.total, 2000 * kMiB);
    EXPECT_EQ(rig.notifier.sent.size(), 1u);
    EXPECT_TRUE(cleanItem()->isEnabled());
}

TEST_F(CleaningController, HandBackFromTheCleaningThread) {
    delegate->cleanMemoryNow();
    rig.engine.nextSample = recordWith(1100 * kMiB);
    QSignalSpy changed(delegate.get(), &QRMAppDelegate::memoryCleaningInProgressChanged);
    std::thread cleaningThread([this] { rig.engine.announceCleaned(); });
    cleaningThread.join();
    // Nothing happens on the cleaning thread itself.
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    ASSERT_TRUE(changed.wait());
    EXPECT_FALSE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.settings.last, 100 * kMiB);
}

TEST_F(CleaningController, NoRoomAboveTheReserveEndsAsNothingToClean) {
    rig.engine.refusal = CleaningRefusal::NoRoomAboveReserve;
    QSignalSpy changed(delegate.get(), &QRMAppDelegate::memoryCleaningInProgressChanged);
    delegate->cleanMemoryNow();
    ASSERT_TRUE(changed.wait());  // the hand-back after "in progress"
    EXPECT_FALSE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.statusItem.titles.back(), "Nothing to clean");
    EXPECT_TRUE(cleanItem()->isEnabled());
}

TEST_F(CleaningController, OtherRefusalsLeaveTheCleaningPending) {
    rig.engine.refusal = CleaningRefusal::AlreadyCleaning;
    delegate->cleanMemoryNow();
    QCoreApplication::processEvents();
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    EXPECT_FALSE(cleanItem()->isEnabled());
}

TEST_F(CleaningController, ZeroFreeMemoryRecordsNothing) {
    rig.engine.current = recordWith(0);
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(500 * kMiB));
    EXPECT_EQ(rig.settings.last, 0u);
    EXPECT_TRUE(rig.notifier.sent.empty());
}

TEST_F(CleaningController, RunningTotalUsesTheStoredDigit) {
    rig.settings.total = 5;
    rig.settings.digit = 1;
    rig.engine.current = recordWith(2048);
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(4096));
    EXPECT_EQ(rig.settings.total, 7u);
    EXPECT_EQ(rig.settings.digit, 1);
}

TEST_F(CleaningController, TimersFollowTheSettings) {
    EXPECT_EQ(delegate->refreshMemoryInfoTimer().interval(), 5000);
    EXPECT_FALSE(delegate->autoCleanEveryTimeTimer().isActive());
    rig.settings.everyTimeChecked = true;
    rig.settings.everyTime = 10;
    delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(delegate->autoCleanEveryTimeTimer().isActive());
    EXPECT_EQ(delegate->autoCleanEveryTimeTimer().interval(), 600000);
    delegate->invalidateAutoCleanEveryTimeTimer();
    EXPECT_FALSE(delegate->autoCleanEveryTimeTimer().isActive());

    // A broken settings file must not make the refresh spin.
    rig.settings.refresh = 0;
    delegate->setupRefreshMemoryInfoTimer();
    EXPECT_EQ(delegate->refreshMemoryInfoTimer().interval(), 1000);
}

// Threshold policy: free must fall strictly below its threshold, inactive
// rise strictly above it, both in whole MiB.
struct ThresholdCase {
    const char *name;
    bool freeChecked;
    uint64_t freeMiB;
    bool inactiveChecked;
    uint64_t inactiveMiB;
    int expectedCleanings;
};

class ThresholdPolicy : public ::testing::TestWithParam<ThresholdCase> {};

TEST_P(ThresholdPolicy, CleansWhenCrossed) {
    const ThresholdCase &c = GetParam();
    ControllerRig rig;
    rig.settings.freeChecked = c.freeChecked;
    rig.settings.freeThreshold = 1024;
    rig.settings.inactiveChecked = c.inactiveChecked;
    rig.settings.inactiveThreshold = 1024;
    rig.engine.nextSample = recordWith(4000 * kMiB);
    auto delegate = rig.start();
    ASSERT_EQ(rig.engine.cleaningRequests, 0);

    // Half a MiB more must not matter: the comparison is on whole MiB.
    rig.engine.nextSample = recordWith(c.freeMiB * kMiB + kMiB / 2, c.inactiveMiB * kMiB + 1);
    delegate->refreshMemoryInfo();
    EXPECT_EQ(rig.engine.cleaningRequests, c.expectedCleanings);
}

INSTANTIATE_TEST_SUITE_P(
    Thresholds, ThresholdPolicy,
    ::testing::Values(ThresholdCase{"FreeJustBelow", true, 1023, false, 0, 1},
                      ThresholdCase{"FreeAtThreshold", true, 1024, false, 0, 0},
                      ThresholdCase{"FreeBelowButOff", false, 10, false, 0, 0},
                      ThresholdCase{"InactiveAtThreshold", false, 4000, true, 1024, 0},
                      ThresholdCase{"InactiveJustAbove", false, 4000, true, 1025, 1},
                      ThresholdCase{"BothMetCleansOnce", true, 10, true, 3000, 1},
                      ThresholdCase{"NeitherMet", true, 2000, true, 100, 0}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ControllerStartUp, FirstSampleCanStartACleaning) {
    ControllerRig rig;
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    rig.engine.nextSample = recordWith(10 * kMiB);
    auto delegate = rig.start();
    EXPECT_EQ(rig.engine.cleaningRequests, 1);
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
}

struct WelcomeCase {
    const char *name;
    bool welcomeShown;
    const char *storedBuild;
    bool expectShown;
};

class WelcomePage : public ::testing::TestWithParam<WelcomeCase> {};

TEST_P(WelcomePage, ShownOnFirstLaunchAndAfterAnUpdate) {
    const WelcomeCase &c = GetParam();
    ControllerRig rig;
    rig.settings.welcomeShown = c.welcomeShown;
    rig.settings.build = QString::fromLatin1(c.storedBuild);
    auto delegate = rig.start();
    QSignalSpy requested(delegate.get(), &QRMAppDelegate::welcomePageRequested);
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(requested.size(), c.expectShown ? 1 : 0);
    // The launch is reported before the build number is stored.
    EXPECT_EQ(rig.usageEvents.firstRuns, c.storedBuild[0] == 0 ? 1 : 0);
    EXPECT_EQ(rig.usageEvents.runs, c.storedBuild[0] == 0 ? 0 : 1);
    EXPECT_EQ(rig.settings.build, QString::fromLatin1(kBuildNumber));
}

INSTANTIATE_TEST_SUITE_P(Launches, WelcomePage,
                         ::testing::Values(WelcomeCase{"FirstLaunch", false, "", true},
                                           WelcomeCase{"SameBuild", true, kBuildNumber, false},
                                           WelcomeCase{"Updated", true, "0", true}),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tarnwell::testing
