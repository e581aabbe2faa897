#include <thread>

#include <QSignalSpy>

#include <gtest/gtest.h>

#include "AppFakes.h"
#include "BuildInfo.h"
#include "CaseName.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"

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

    // Lets queued hand-backs run until the controller is idle again.
    void waitForIdle() { ASSERT_TRUE(waitUntilIdle(*delegate)); }

    // The command and the refresh are back as before the cleaning.
    void expectIdle() {
        EXPECT_FALSE(delegate->memoryCleaningInProgress());
        EXPECT_TRUE(cleanItem()->isEnabled());
        EXPECT_EQ(cleanItem()->title(), "Clean memory now");
        EXPECT_TRUE(delegate->refreshMemoryInfoTimer().isActive());
    }

    QRMMenuItem *cleanItem() { return delegate->statusMenu().cleanMemoryNow; }

    ControllerRig rig;
    std::unique_ptr<QRMAppDelegate> delegate;
};

TEST_F(CleaningController, BusyCleaningStopsTheRefreshAndDropsRequests) {
    delegate->cleanMemoryNow();
    delegate->cleanMemoryNow();

    EXPECT_EQ(rig.engine.cleaningRequests, 1);
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    EXPECT_FALSE(delegate->refreshMemoryInfoTimer().isActive());
    EXPECT_FALSE(cleanItem()->isEnabled());
    EXPECT_EQ(cleanItem()->title(), "Cleaning...");
    EXPECT_EQ(rig.statusItem.titles.back(), "Cleaning...");
    // The refresh tick takes no sample while the engine works.
    const int refreshes = rig.engine.refreshes;
    delegate->refreshMemoryInfo();
    EXPECT_EQ(rig.engine.refreshes, refreshes);
}

// Each row cleans once from the stored statistics last 7 B, max 9 MiB and a
// total of 1 Mi in the row's unit; the title is also the notification's text.
struct OutcomeCase {
    const char *name;
    uint64_t freeBeforeMiB, freeAfterMiB;
    bool notifications;
    int64_t totalDigit;
    uint64_t last, max, total;
    const char *title;
};

class CleaningOutcome : public CleaningController,
                        public ::testing::WithParamInterface<OutcomeCase> {};

TEST_P(CleaningOutcome, IsRecordedAndAnnounced) {
    const OutcomeCase &c = GetParam();
    rig.settings.notifications = c.notifications;
    rig.settings.last = 7;
    rig.settings.max = 9 * kMiB;
    rig.settings.total = kMiB;
    rig.settings.digit = c.totalDigit;
    rig.engine.current = recordWith(c.freeBeforeMiB * kMiB);
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(c.freeAfterMiB * kMiB));

    EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(c.title));
    EXPECT_EQ(rig.settings.last, c.last);
    EXPECT_EQ(rig.settings.max, c.max);
    EXPECT_EQ(rig.settings.total, c.total);
    EXPECT_EQ(rig.settings.digit, c.totalDigit);
    const bool announced = c.notifications && QString(c.title).endsWith(" cleaned");
    EXPECT_EQ(rig.notifier.sent,
              announced ? std::vector<QString>{c.title} : std::vector<QString>{});
    EXPECT_EQ(rig.usageEvents.cleanings, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cleanings, CleaningOutcome,
    ::testing::Values(
        OutcomeCase{"NewMaximum", 1000, 1512, true, 0, 512 * kMiB, 512 * kMiB, 513 * kMiB,
                    "512.00 MB cleaned"},
        OutcomeCase{"SmallerKeepsTheMaximum", 1000, 1005, true, 0, 5 * kMiB, 9 * kMiB, 6 * kMiB,
                    "5.00 MB cleaned"},
        OutcomeCase{"NotificationsOff", 1000, 2000, false, 0, 1000 * kMiB, 1000 * kMiB, 1001 * kMiB,
                    "0.98 GB cleaned"},
        OutcomeCase{"NothingFreed", 1000, 1000, true, 0, 0, 9 * kMiB, kMiB, "Nothing to clean"},
        OutcomeCase{"LessFreeAfter", 1000, 900, true, 0, 0, 9 * kMiB, kMiB, "Nothing to clean"},
        // The total keeps its stored unit: 1 MiB freed is 1024 KiB more.
        OutcomeCase{"TotalInKiB", 1000, 1001, true, 1, kMiB, 9 * kMiB, kMiB + 1024,
                    "1.00 MB cleaned"},
        // Nothing free to measure from: no result, and the title back to the
        // figure.
        OutcomeCase{"NothingFreeBefore", 0, 500, true, 0, 7, 9 * kMiB, kMiB, "500.00 MB"}),
    test::caseName);

TEST_F(CleaningController, ChainedThresholdCleaningsCountAsOne) {
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    delegate->cleanMemoryNow();

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
    expectIdle();
    // Measured from the first cleaning's "before".
    EXPECT_EQ(rig.settings.last, 2000 * kMiB);
    EXPECT_EQ(rig.settings.total, 2000 * kMiB);
    EXPECT_EQ(rig.notifier.sent.size(), 1u);
    EXPECT_EQ(rig.usageEvents.cleanings, 2);
}

TEST_F(CleaningController, IconOnlyTitleIsNeverTouched) {
    rig.settings.textType = 0;
    const size_t titles = rig.statusItem.titles.size();
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(2000 * kMiB));
    // Only the refreshes wrote the (empty) title.
    for (size_t i = titles; i < rig.statusItem.titles.size(); ++i) {
        EXPECT_EQ(rig.statusItem.titles[i], "");
    }
}

TEST_F(CleaningController, HandBackFromTheCleaningThread) {
    delegate->cleanMemoryNow();
    rig.engine.nextSample = recordWith(1100 * kMiB);
    QSignalSpy changed(delegate.get(), &QRMAppDelegate::memoryCleaningInProgressChanged);
    std::thread([this] { rig.engine.announceCleaned(); }).join();
    // Nothing happens on the cleaning thread itself.
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    ASSERT_TRUE(changed.wait());
    expectIdle();
    EXPECT_EQ(rig.settings.last, 100 * kMiB);
}

// Any refusal ends the attempt without a result, whatever free memory does
// meanwhile: no message, notification or event, the statistics as they were.
// Only the user is told there was nothing to clean; after an automatic
// request the title keeps the figure.
struct DeclineCase {
    const char *name;
    CleaningRefusal refusal;
    bool byUser;
    const char *title;
};

class DeclinedCleaning : public CleaningController,
                         public ::testing::WithParamInterface<DeclineCase> {};

TEST_P(DeclinedCleaning, EndsQuietly) {
    const DeclineCase &c = GetParam();
    rig.settings.last = 7;
    rig.settings.max = 9;
    rig.engine.refusal = c.refusal;
    rig.engine.nextSample = recordWith(1300 * kMiB);
    if (c.byUser) {
        cleanItem()->trigger();
    } else {
        delegate->cleanMemoryNow(CleaningTrigger::Automatic);
    }
    waitForIdle();

    expectIdle();
    EXPECT_EQ(rig.statusItem.titles.back(), c.title);
    EXPECT_EQ(rig.settings.last, 7u);
    EXPECT_EQ(rig.settings.max, 9u);
    EXPECT_EQ(rig.settings.total, 0u);
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_EQ(rig.usageEvents.cleanings, 0);
    EXPECT_EQ(rig.engine.cleaningRequests, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Refusals, DeclinedCleaning,
    ::testing::Values(DeclineCase{"NoRoomAskedByUser", CleaningRefusal::NoRoomAboveReserve, true,
                                  "Nothing to clean"},
                      DeclineCase{"NoStatisticsAskedByPolicy", CleaningRefusal::NoUsableStatistics,
                                  false, "0.98 GB"}),
    test::caseName);

TEST_F(CleaningController, DeclinedChainEndsWithItsCompletedCleaning) {
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    delegate->cleanMemoryNow();
    // Still below the threshold, so the check at the end asks again, and the
    // engine declines: what the first cleaning freed is the chain's result.
    rig.engine.refusal = CleaningRefusal::NoRoomAboveReserve;
    finishCleaning(recordWith(1010 * kMiB));
    waitForIdle();
    expectIdle();
    EXPECT_EQ(rig.engine.cleaningRequests, 2);
    EXPECT_EQ(rig.settings.last, 10 * kMiB);
    EXPECT_EQ(rig.statusItem.titles.back(), "10.00 MB cleaned");
    EXPECT_EQ(rig.usageEvents.cleanings, 1);
}

TEST_F(CleaningController, TimersFollowTheSettings) {
    EXPECT_EQ(delegate->refreshMemoryInfoTimer().interval(), 5000);
    EXPECT_FALSE(delegate->autoCleanEveryTimeTimer().isActive());
    rig.settings.everyTimeChecked = true;
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(delegate->autoCleanEveryTimeTimer().interval(), 600000);
    delegate->invalidateAutoCleanEveryTimeTimer();
    EXPECT_FALSE(delegate->autoCleanEveryTimeTimer().isActive());

    // A broken settings file must not make the refresh spin.
    rig.settings.refresh = 0;
    delegate->setupRefreshMemoryInfoTimer();
    EXPECT_EQ(delegate->refreshMemoryInfoTimer().interval(), 1000);
}

// Free must fall strictly below its threshold, inactive rise strictly above
// it, both in whole MiB. A start-up row checks the very first sample too.
struct ThresholdCase {
    const char *name;
    bool freeChecked;
    uint64_t freeMiB;
    bool inactiveChecked;
    uint64_t inactiveMiB;
    int expectedCleanings;
    bool atStartUp = false;
    int64_t freeThresholdMiB = 1024;
    int64_t inactiveThresholdMiB = 1024;
};

class ThresholdPolicy : public ::testing::TestWithParam<ThresholdCase> {};

TEST_P(ThresholdPolicy, CleansWhenCrossed) {
    const ThresholdCase &c = GetParam();
    ControllerRig rig;
    rig.settings.freeChecked = c.freeChecked;
    rig.settings.freeThreshold = c.freeThresholdMiB;
    rig.settings.inactiveChecked = c.inactiveChecked;
    rig.settings.inactiveThreshold = c.inactiveThresholdMiB;
    // Half a MiB more must not matter: the comparison is on whole MiB.
    const QRMStatisticsRecord sample =
        recordWith(c.freeMiB * kMiB + kMiB / 2, c.inactiveMiB * kMiB + kPageSize);
    rig.engine.nextSample = c.atStartUp ? sample : recordWith(4000 * kMiB);
    auto delegate = rig.start();
    if (!c.atStartUp) {
        ASSERT_EQ(rig.engine.cleaningRequests, 0);
        rig.engine.nextSample = sample;
        delegate->refreshMemoryInfo();
    }
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
                      ThresholdCase{"FirstSampleAtStartUp", true, 10, false, 0, 1, true},
                      // Past 4 GiB, where the stored byte figures wrap (to
                      // 904 MiB here) and would decide the other way.
                      ThresholdCase{"FreePast4GiBAboveThreshold", true, 5000, false, 0, 0},
                      ThresholdCase{"InactivePast4GiBAboveThreshold", false, 8000, true, 5000, 1,
                                    false, 1024, 4096}),
    test::caseName);

// The controller over the real engine, whose cleanings run on threads of
// their own, as in the program. Memory short and the engine declining: one
// attempt per refresh tick, never a loop from the hand-back, and nothing
// counted as cleaned.
TEST(RealCleaningThread, DeclinedThresholdCleaningWaitsForTheNextTick) {
    // Counts what the controller asks of the engine.
    struct CountingEngine : QRMMemoryInfoEngine {
        using QRMMemoryInfoEngine::QRMMemoryInfoEngine;
        CleaningDecision cleanMemoryNow() override {
            ++attempts;
            return QRMMemoryInfoEngine::cleanMemoryNow();
        }
        std::atomic<int> attempts{0};
    };
    // 16 MiB free below a 1024 MiB threshold, available memory short of the
    // 256 MiB reserve of a 4 GiB machine.
    auto state = std::make_shared<test::FakeMemorySource::State>();
    state->vmStatistics = test::smallMachine();
    state->vmStatistics->availableBytes = 100 * kMiB;
    state->hardwarePhysicalMemory = uint64_t(4) << 30;
    QRMMemoryInfo memory(std::make_unique<test::FakeMemorySource>(state));
    CountingEngine engine(memory);
    ControllerRig rig;
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    rig.settings.last = 7;
    auto delegate = rig.start(&engine);  // the first sample crosses the threshold
    for (int tick = 0; tick < 3; ++tick) {
        ASSERT_TRUE(waitUntilIdle(*delegate));
        delegate->refreshMemoryInfo();
    }
    ASSERT_TRUE(waitUntilIdle(*delegate));
    // A spinning controller would ask again within this time.
    QDeadlineTimer settle(200);
    while (!settle.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    EXPECT_EQ(engine.attempts, 4);
    EXPECT_EQ(rig.usageEvents.cleanings, 0);
    EXPECT_EQ(rig.settings.last, 7u);
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_EQ(rig.statusItem.titles.back(), "16.00 MB");
    EXPECT_TRUE(delegate->statusMenu().cleanMemoryNow->isEnabled());
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
    // The first run turns automatic updates on and checks at once; the menu's
    // command asks for a check that answers.
    delegate->statusMenu().checkForUpdates->trigger();
    EXPECT_EQ(rig.updater.calls,
              c.storedBuild[0] == 0 ? QStringList({"checks 1", "downloads 1", "background", "user"})
                                    : QStringList({"user"}));
}

INSTANTIATE_TEST_SUITE_P(Launches, WelcomePage,
                         ::testing::Values(WelcomeCase{"FirstLaunch", false, "", true},
                                           WelcomeCase{"SameBuild", true, kBuildNumber, false},
                                           WelcomeCase{"Updated", true, "0", true}),
                         test::caseName);

TEST(WelcomeWindow, ClosingItKeepsItAwayUntilTheNextUpdate) {
    ControllerRig rig;
    auto first = rig.start();
    QSignalSpy requested(first.get(), &QRMAppDelegate::welcomePageRequested);
    first->applicationDidFinishLaunching();
    ASSERT_EQ(requested.size(), 1);
    first->welcomeWindowDidLoad();
    EXPECT_EQ(rig.usageEvents.contentViews,
              std::vector<QStringList>({{"Welcome", "Window", "welcomeWindow"}}));
    first->welcomeWindowWillClose();
    first.reset();

    auto next = rig.start();
    QSignalSpy again(next.get(), &QRMAppDelegate::welcomePageRequested);
    next->applicationDidFinishLaunching();
    EXPECT_TRUE(again.isEmpty());
}

}  // namespace
}  // namespace tarnwell::testing
