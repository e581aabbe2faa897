#include <thread>

#include <QSignalSpy>

#include <gtest/gtest.h>

#include "AppFakes.h"
#include "BuildInfo.h"
#include "CaseName.h"
#include "app/ApplicationActivity.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"

namespace tarnwell::testing {
namespace {

constexpr uint64_t M = kMiB;

class CleaningController : public ::testing::Test {
protected:
    void SetUp() override {
        rig.engine.nextSample = recordWith(1000 * M);
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
struct Outcome {
    const char *name;
    uint64_t freeBeforeMiB, freeAfterMiB;
    bool notifications;
    int64_t totalDigit;
    uint64_t last, max, total;
    const char *title;
};

class CleaningOutcome : public CleaningController, public ::testing::WithParamInterface<Outcome> {};

TEST_P(CleaningOutcome, IsRecordedAndAnnounced) {
    const Outcome &c = GetParam();
    rig.settings.notifications = c.notifications;
    rig.settings.last = 7;
    rig.settings.max = 9 * M;
    rig.settings.total = M;
    rig.settings.digit = c.totalDigit;
    rig.engine.current = recordWith(c.freeBeforeMiB * M);
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(c.freeAfterMiB * M));

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
        Outcome{"NewMaximum", 1000, 1512, true, 0, 512 * M, 512 * M, 513 * M, "512.00 MB cleaned"},
        Outcome{"SmallerKeepsMaximum", 1000, 1005, true, 0, 5 * M, 9 * M, 6 * M, "5.00 MB cleaned"},
        Outcome{"Unannounced", 1000, 2000, false, 0, 1000 * M, 1000 * M, 1001 * M,
                "0.98 GB cleaned"},
        Outcome{"NothingFreed", 1000, 1000, true, 0, 0, 9 * M, M, "Nothing to clean"},
        Outcome{"LessFreeAfter", 1000, 900, true, 0, 0, 9 * M, M, "Nothing to clean"},
        // The total keeps its stored unit: 1 MiB freed is 1024 KiB more.
        Outcome{"TotalInKiB", 1000, 1001, true, 1, M, 9 * M, M + 1024, "1.00 MB cleaned"},
        // Nothing free to measure from: no result, and the title back to the figure.
        Outcome{"NothingFreeBefore", 0, 500, true, 0, 7, 9 * M, M, "500.00 MB"}),
    test::caseName);

TEST_F(CleaningController, ChainedThresholdCleaningsCountAsOne) {
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    delegate->cleanMemoryNow();

    // Still below the threshold after the first cleaning: the policy starts
    // the next one straight away, without going idle in between.
    finishCleaning(recordWith(1010 * M));
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    EXPECT_EQ(rig.engine.cleaningRequests, 2);

    finishCleaning(recordWith(3000 * M));
    expectIdle();
    // Measured from the first cleaning's "before", and announced once.
    EXPECT_EQ(rig.settings.last, 2000 * M);
    EXPECT_EQ(rig.settings.total, 2000 * M);
    EXPECT_EQ(rig.notifier.sent.size(), 1u);
    EXPECT_EQ(rig.usageEvents.cleanings, 2);
}

TEST_F(CleaningController, IconOnlyTitleIsNeverTouched) {
    rig.settings.textType = 0;
    const size_t titles = rig.statusItem.titles.size();
    delegate->cleanMemoryNow();
    finishCleaning(recordWith(2000 * M));
    // Only the refreshes wrote the (empty) title.
    for (size_t i = titles; i < rig.statusItem.titles.size(); ++i) {
        EXPECT_EQ(rig.statusItem.titles[i], "");
    }
}

TEST_F(CleaningController, HandBackFromTheCleaningThread) {
    delegate->cleanMemoryNow();
    rig.engine.nextSample = recordWith(1100 * M);
    QSignalSpy changed(delegate.get(), &QRMAppDelegate::memoryCleaningInProgressChanged);
    std::thread([this] { rig.engine.announceCleaned(); }).join();
    // Nothing happens on the cleaning thread itself.
    EXPECT_TRUE(delegate->memoryCleaningInProgress());
    ASSERT_TRUE(changed.wait());
    expectIdle();
    EXPECT_EQ(rig.settings.last, 100 * M);
}

// Any refusal ends the attempt without a result, whatever free memory does
// meanwhile: no message, notification or event, the statistics as they were.
// Only the user is told there was nothing to clean; after an automatic
// request the title keeps the figure.
TEST_F(CleaningController, DeclinedCleaningsEndQuietly) {
    rig.settings.last = 7;
    rig.settings.max = 9;
    rig.engine.nextSample = recordWith(1300 * M);
    rig.engine.refusal = CleaningRefusal::NoRoomAboveReserve;
    cleanItem()->trigger();
    ASSERT_TRUE(waitUntilIdle(*delegate));
    EXPECT_EQ(rig.statusItem.titles.back(), "Nothing to clean");

    rig.engine.refusal = CleaningRefusal::NoUsableStatistics;
    delegate->cleanMemoryNow(CleaningTrigger::Automatic);
    ASSERT_TRUE(waitUntilIdle(*delegate));
    expectIdle();
    EXPECT_EQ(rig.statusItem.titles.back(), "0.98 GB");
    EXPECT_EQ(rig.settings.last, 7u);
    EXPECT_EQ(rig.settings.max, 9u);
    EXPECT_EQ(rig.settings.total, 0u);
    EXPECT_TRUE(rig.notifier.sent.empty());
    EXPECT_EQ(rig.usageEvents.cleanings, 0);
    EXPECT_EQ(rig.engine.cleaningRequests, 2);
}

TEST_F(CleaningController, DeclinedChainEndsWithItsCompletedCleaning) {
    rig.settings.freeChecked = true;
    rig.settings.freeThreshold = 1024;
    delegate->cleanMemoryNow();
    // Still below the threshold, so the check at the end asks again, and the
    // engine declines: what the first cleaning freed is the chain's result.
    rig.engine.refusal = CleaningRefusal::NoRoomAboveReserve;
    finishCleaning(recordWith(1010 * M));
    ASSERT_TRUE(waitUntilIdle(*delegate));
    expectIdle();
    EXPECT_EQ(rig.engine.cleaningRequests, 2);
    EXPECT_EQ(rig.settings.last, 10 * M);
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
// it, both in whole MiB (half a MiB more must not matter), on the very first
// sample as on a later one. Past 4 GiB (the last two rows) the stored byte
// figures wrap, to 904 MiB here, and would decide the other way.
TEST(ThresholdPolicy, CleansWhenCrossed) {
    struct Row {
        bool freeOn;
        uint64_t freeMiB;
        bool inactiveOn;
        uint64_t inactiveMiB;
        int cleanings;
        int64_t inactiveThresholdMiB = 1024;
    };
    const Row rows[] = {{true, 1023, false, 0, 1},    {true, 1024, false, 0, 0},
                        {false, 10, false, 0, 0},     {false, 4000, true, 1024, 0},
                        {false, 4000, true, 1025, 1}, {true, 10, true, 3000, 1},
                        {true, 5000, false, 0, 0},    {false, 8000, true, 5000, 1, 4096}};
    for (const Row &row : rows) {
        for (const bool atStartUp : {true, false}) {
            ControllerRig rig;
            rig.settings.freeChecked = row.freeOn;
            rig.settings.freeThreshold = 1024;
            rig.settings.inactiveChecked = row.inactiveOn;
            rig.settings.inactiveThreshold = row.inactiveThresholdMiB;
            const QRMStatisticsRecord sample =
                recordWith(row.freeMiB * M + M / 2, row.inactiveMiB * M + kPageSize);
            rig.engine.nextSample = atStartUp ? sample : recordWith(4000 * M);
            auto delegate = rig.start();
            if (!atStartUp) {
                rig.engine.nextSample = sample;
                delegate->refreshMemoryInfo();
            }
            EXPECT_EQ(rig.engine.cleaningRequests, row.cleanings)
                << "row " << &row - rows << (atStartUp ? " at start-up" : " at a refresh");
        }
    }
}

struct CountingEngine : QRMMemoryInfoEngine {
    using QRMMemoryInfoEngine::QRMMemoryInfoEngine;
    CleaningDecision cleanMemoryNow() override {
        ++attempts;
        return QRMMemoryInfoEngine::cleanMemoryNow();
    }
    std::atomic<int> attempts{0};
};

// The real engine's cleanings run on threads of their own, as in the
// program. Memory short and the engine declining: one attempt per refresh
// tick, never a loop from the hand-back, and nothing counted as cleaned.
TEST(RealCleaningThread, DeclinedThresholdCleaningWaitsForTheNextTick) {
    // 16 MiB free below a 1024 MiB threshold, available memory short of the
    // 256 MiB reserve of a 4 GiB machine.
    auto state = std::make_shared<test::FakeMemorySource::State>();
    state->vmStatistics = test::smallMachine();
    state->vmStatistics->availableBytes = 100 * M;
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

// Shown on the first launch and after an update, until the user closes it.
// The first run turns automatic updates on and checks at once; the menu's
// command asks for a check that answers.
TEST(WelcomePage, ShownOnFirstLaunchAndAfterAnUpdate) {
    ControllerRig rig;
    std::unique_ptr<QRMAppDelegate> delegate;
    // Starts the program anew; how often it asked for the page.
    const auto launch = [&] {
        delegate.reset();
        delegate = rig.start();
        QSignalSpy requested(delegate.get(), &QRMAppDelegate::welcomePageRequested);
        delegate->applicationDidFinishLaunching();
        delegate->statusMenu().checkForUpdates->trigger();
        return requested.size();
    };
    EXPECT_EQ(launch(), 1);
    // The launch is reported before the build number is stored.
    EXPECT_EQ(rig.usageEvents.firstRuns, 1);
    EXPECT_EQ(rig.usageEvents.runs, 0);
    EXPECT_EQ(rig.settings.build, QString::fromLatin1(kBuildNumber));
    EXPECT_EQ(rig.updater.calls, QStringList({"checks 1", "downloads 1", "background", "user"}));
    delegate->welcomeWindowDidLoad();
    EXPECT_EQ(rig.usageEvents.contentViews,
              std::vector<QStringList>({{"Welcome", "Window", "welcomeWindow"}}));
    delegate->welcomeWindowWillClose();

    rig.updater.calls.clear();
    EXPECT_EQ(launch(), 0);
    EXPECT_EQ(rig.usageEvents.runs, 1);
    EXPECT_EQ(rig.updater.calls, QStringList({"user"}));
    rig.settings.build = "0";
    EXPECT_EQ(launch(), 1);
    EXPECT_EQ(rig.usageEvents.firstRuns, 1);
    EXPECT_EQ(rig.settings.build, QString::fromLatin1(kBuildNumber));
}

QVariantMap monitored(QVariantMap flags, const QString &id = "a.desktop") {
    flags.insert("name", "Some Application");
    flags.insert("ID", id);
    return flags;
}

// Each event reads its own flag, only a boolean true counts, IDs match
// exactly (case too, and an empty one never), and a later record of the same
// ID still counts.
TEST(MatchingRule, CleansForTheFirstRecordWithTheFlagOn) {
    using enum ApplicationEvent;
    const QVariantMap launch{{"DidLaunch", true}}, noLaunch{{"DidLaunch", false}};
    const QVariantMap hide{{"DidHide", true}},
        deactivate{{"DidLaunch", false}, {"DidDeactivate", true}};
    const std::tuple<ApplicationEvent, const char *, int, QList<QVariantMap>> rows[] = {
        {DidLaunch, "a.desktop", 1, {monitored(launch)}},
        {DidDeactivate, "a.desktop", 1, {monitored(deactivate)}},
        {DidUnhide, "a.desktop", 0, {monitored(hide)}},
        {DidTerminate, "a.desktop", 0, {monitored(hide)}},
        {DidActivate, "a.desktop", 0, {monitored({{"DidActivate", "true"}})}},
        {DidLaunch, "a.desktop", 0, {monitored(launch, "A.desktop")}},
        {DidLaunch, "a.desktop", 1, {monitored(noLaunch), monitored({}, "b"), monitored(launch)}},
        {DidLaunch, "", 0, {monitored(launch, "")}},
        {DidLaunch, "a.desktop", 0, {}}};
    for (const auto &row : rows) {
        const auto &[event, id, cleanings, records] = row;
        ControllerRig rig;
        rig.settings.monitored = records;
        const auto delegate = rig.start();
        delegate->applicationDidFinishLaunching();
        if (rig.applicationEvents.handler) {
            rig.applicationEvents.handler(event, id);
        }
        EXPECT_EQ(rig.engine.cleaningRequests, cleanings) << "row " << &row - rows;
    }
}

TEST(ApplicationEvents, WatchedOnlyWhileAFlagIsOnAndNewListsTakeEffectAtOnce) {
    ControllerRig rig;
    rig.settings.monitored = {monitored({{"DidLaunch", false}})};
    const auto delegate = rig.start();
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(rig.applicationEvents.starts, 0);

    rig.settings.monitored = {monitored({{"DidActivate", true}}),
                              monitored({{"DidDeactivate", true}}, "b.desktop")};
    delegate->loadPreferences();
    ASSERT_TRUE(rig.applicationEvents.handler);
    // One switch from b to a: the second request meets the first cleaning.
    rig.applicationEvents.handler(ApplicationEvent::DidDeactivate, "b.desktop");
    rig.applicationEvents.handler(ApplicationEvent::DidActivate, "a.desktop");
    EXPECT_EQ(rig.engine.cleaningRequests, 1);

    rig.settings.monitored = {};
    delegate->loadPreferences();
    EXPECT_FALSE(rig.applicationEvents.handler);
}

// A tray program is active while its menu is open or one of its windows has
// the focus; each change of that is reported once ("A" active, "I" inactive).
// Steps: M/m the menu opens/closes, W/w a window takes/loses the focus.
TEST(ApplicationActivity, ReportsEachChangeOnce) {
    // Submenus ask again before they show (MMm); the menu's command opens a
    // window, which keeps the focus (MWmw).
    const std::pair<const char *, const char *> rows[] = {
        {"Mm", "AI"},   {"MMm", "AI"},    {"Ww", "AI"}, {"MWmw", "AI"},
        {"WMmw", "AI"}, {"MmWw", "AIAI"}, {"mw", ""}};
    for (const auto &[steps, reported] : rows) {
        QRMMenu menu;
        FakeUsageEvents log;
        ApplicationActivity activity(menu, &log);
        for (const char *step = steps; *step != '\0'; ++step) {
            if (*step == 'M' || *step == 'm') {
                *step == 'M' ? menu.notifyAboutToShow() : menu.notifyClosed();
            } else {
                activity.windowFocusChanged(*step == 'W');
            }
        }
        EXPECT_EQ(log.activity, QString::fromLatin1(reported)) << steps;
    }
}

}  // namespace
}  // namespace tarnwell::testing
