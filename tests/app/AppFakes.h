#pragma once

#include <atomic>
#include <map>
#include <vector>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QHash>
#include <QUrl>

#include "../support/QtPrinters.h"
#include "app/AppSettings.h"
#include "app/ApplicationEventSource.h"
#include "app/MemoryEngine.h"
#include "app/QRMAppDelegate.h"
#include "app/QRMMenu.h"
#include "app/StatusItemView.h"
#include "app/UpdateChecks.h"
#include "app/UrlOpener.h"
#include "app/UsageEvents.h"
#include "app/UserNotifier.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell::testing {

constexpr uint64_t kMiB = uint64_t(1) << 20;

constexpr uint64_t kPageSize = 4096;

// A record with just the figures the controller's policy reads, in pages of
// 4 KiB as the kernel counts them, and the byte figures as the record stores
// them: wrapped at 4 GiB.
inline QRMStatisticsRecord recordWith(uint64_t freeBytes, uint64_t inactiveBytes = 0) {
    const auto u32 = QRMNumber::fromUInt32;
    return {{std::string(keys::pageSize), QRMNumber::fromInt32(int32_t(kPageSize))},
            {std::string(keys::freeCount), u32(uint32_t(freeBytes / kPageSize))},
            {std::string(keys::freeBytes), u32(uint32_t(freeBytes))},
            {std::string(keys::inactiveCount), u32(uint32_t(inactiveBytes / kPageSize))},
            {std::string(keys::inactiveBytes), u32(uint32_t(inactiveBytes))}};
}

// An engine whose record the test sets and whose cleanings finish when the
// test says so. refresh() publishes the pending record, as a real sample would.
class FakeEngine : public MemoryEngine {
public:
    QRMStatisticsRecord current, nextSample;
    std::string problem;
    std::optional<CleaningRefusal> refusal;
    int refreshes = 0, cleaningRequests = 0;

    void refresh() override {
        ++refreshes;
        current = nextSample;
    }
    QRMStatisticsRecord info() const override { return current; }
    std::string sampleProblem() const override { return problem; }
    CleaningDecision cleanMemoryNow() override {
        ++cleaningRequests;
        return CleaningDecision{refusal, std::nullopt, 0};
    }
    int addMemoryCleanedObserver(std::function<void()> observer) override {
        observers[nextId] = std::move(observer);
        return nextId++;
    }
    void removeMemoryCleanedObserver(int id) override { observers.erase(id); }

    // What the engine's cleaning thread does at its end.
    void announceCleaned() {
        for (auto &[id, observer] : observers) {
            observer();
        }
    }

    std::map<int, std::function<void()>> observers;
    int nextId = 1;
};

struct FakeSettings : AppSettings {
    int64_t textType = 2, iconType = 3, freeThreshold = 0, inactiveThreshold = 0, digit = 0;
    bool textWithInfo = false, everyTimeChecked = false, freeChecked = false;
    bool inactiveChecked = false, notifications = true, welcomeShown = false;
    double refresh = 5, everyTime = 10;
    uint64_t last = 0, max = 0, total = 0;
    QString build;
    QList<QVariantMap> monitored;

    int64_t statusBarTextType() override { return textType; }
    bool statusBarTextWithInfo() override { return textWithInfo; }
    int64_t statusBarIconType() override { return iconType; }
    double refreshRate() override { return refresh; }
    double autoCleanEveryTime() override { return everyTime; }
    bool autoCleanEveryTimeChecked() override { return everyTimeChecked; }
    bool autoCleanByFreeSizeChecked() override { return freeChecked; }
    int64_t autoCleanByFreeSize() override { return freeThreshold; }
    bool autoCleanByInactiveSizeChecked() override { return inactiveChecked; }
    int64_t autoCleanByInactiveSize() override { return inactiveThreshold; }
    bool showNotificationsAfterCleaning() override { return notifications; }
    uint64_t lastTimeCleaned() override { return last; }
    void setLastTimeCleaned(uint64_t bytes) override { last = bytes; }
    uint64_t maxCleaned() override { return max; }
    void setMaxCleaned(uint64_t bytes) override { max = bytes; }
    RunningTotal totallyCleaned() override { return {total, digit}; }
    void setTotallyCleaned(RunningTotal t) override {
        total = t.count;
        digit = t.digit;
    }
    QList<QVariantMap> applicationsAndUtilitiesToMonitoring() override { return monitored; }
    bool isFirstRun() override { return build.isEmpty(); }
    bool isWelcomeShown() override { return welcomeShown; }
    void setIsWelcomeShown(bool shown) override { welcomeShown = shown; }
    QString bundleBuild() override { return build; }
    void setBundleBuild(const QString &b) override { build = b; }
};

struct FakeStatusItem : StatusItemView {
    std::vector<QString> titles;
    QString toolTip;
    QImage image;
    bool isTemplate = false;
    int images = 0;  // redraws, counted by the benchmark

    void setTitle(const QString &title) override { titles.push_back(title); }
    void setToolTip(const QString &text) override { toolTip = text; }
    void setImage(const QImage &i, bool t) override {
        image = i;
        isTemplate = t;
        ++images;
    }
    void setMenu(QRMMenu *) override {}
};

struct FakeNotifier : UserNotifier {
    std::vector<QString> sent;  // the texts; the end-to-end test sees the rest
    void showNotificationWithTitle(const QString &, const QString &text, const QString &) override {
        sent.push_back(text);
    }
};

struct FakeUsageEvents : UsageEvents {
    std::atomic<int> firstRuns{0}, runs{0}, cleanings{0};
    std::vector<QStringList> contentViews;
    QString activity;  // "A" became active, "I" resigned, in order
    void firstRun() override { ++firstRuns; }
    void run() override { ++runs; }
    void memoryCleaned() override { ++cleanings; }
    void contentViewWithName(const QString &name, const QString &type, const QString &id) override {
        contentViews.push_back({name, type, id});
    }
    void becameActive() override { activity += u'A'; }
    void resignedActive() override { activity += u'I'; }
};

struct FakeUrlOpener : UrlOpener {
    std::vector<QUrl> opened;
    void openURL(const QUrl &url) override { opened.push_back(url); }
};

struct FakeUpdateChecks : UpdateChecks {
    QStringList calls;
    bool checks = false;
    bool downloads = false;
    qint64 interval = updateInterval::kDaily;
    bool automaticallyChecksForUpdates() override { return checks; }
    void setAutomaticallyChecksForUpdates(bool on) override {
        checks = on;
        calls << QString("checks %1").arg(on);
    }
    qint64 updateCheckInterval() override { return interval; }
    void setUpdateCheckInterval(qint64 seconds) override { interval = seconds; }
    bool automaticallyDownloadsUpdates() override { return downloads; }
    void setAutomaticallyDownloadsUpdates(bool on) override {
        downloads = on;
        calls << QString("downloads %1").arg(on);
    }
    void checkForUpdatesInBackground() override { calls << "background"; }
    void checkForUpdates() override { calls << "user"; }
};

// Words that differ from their keys, so a test sees which key was used.
inline Localizer fakeLocalizer() {
    return [](const QString &key) {
        static const QHash<QString, QString> table{{"language", "en"},
                                                   {"Cleaned", "cleaned"},
                                                   {"NothingtoClean", "Nothing to clean"},
                                                   {"CleanMemoryNow", "Clean memory now"}};
        return table.value(key, key);
    };
}

// Runs queued hand-backs until the controller is idle; false after 10 s.
inline bool waitUntilIdle(QRMAppDelegate &delegate) {
    QDeadlineTimer deadline(10000);
    while (delegate.memoryCleaningInProgress() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    return !delegate.memoryCleaningInProgress();
}

// Hands the controller's handler to the test, which plays the other
// applications.
struct FakeApplicationEvents : ApplicationEventSource {
    Handler handler;
    int starts = 0;
    void startMonitoring(Handler h) override {
        handler = std::move(h);
        ++starts;
    }
    void stopMonitoring() override { handler = nullptr; }
};

// Everything a controller needs, with the cleaning started inline.
struct ControllerRig {
    FakeEngine engine;
    FakeSettings settings;
    FakeStatusItem statusItem;
    FakeNotifier notifier;
    FakeUrlOpener urlOpener;
    FakeUsageEvents usageEvents;
    FakeUpdateChecks updater;
    FakeApplicationEvents applicationEvents;
    Localizer localized = fakeLocalizer();

    // With another engine, such as the real one, cleanings run on threads of
    // their own, as in the program.
    std::unique_ptr<QRMAppDelegate> start(MemoryEngine *otherEngine = nullptr) {
        QRMAppDelegate::BackgroundRunner inline_ = [](std::function<void()> task) { task(); };
        auto delegate = std::make_unique<QRMAppDelegate>(QRMAppDelegate::Services{
            otherEngine ? *otherEngine : engine, settings, localized, urlOpener, &statusItem,
            &notifier, otherEngine ? QRMAppDelegate::BackgroundRunner() : inline_, &usageEvents,
            &updater, nullptr, QString(), &applicationEvents});
        delegate->awakeFromNib();
        return delegate;
    }
};

}  // namespace tarnwell::testing
