#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

#include <QImage>
#include <QObject>
#include <QTimer>

#include "app/ApplicationEventSource.h"
#include "app/Localizer.h"
#include "app/QRMStatusMenu.h"

namespace tarnwell {

class AppSettings;
class LoginItems;
class MemoryEngine;
class StatusItemView;
class UpdateChecks;
class UrlOpener;
class UsageEvents;
class UserNotifier;

// Who asked for a cleaning: the user (the menu command) or the automatic
// policy (a threshold, the periodic timer, another application's event). A
// declined cleaning says "nothing to clean" only to the user; otherwise the
// title keeps the figure, which matters most exactly when memory is short.
enum class CleaningTrigger { User, Automatic };

// The application's controller: owns the status menu and the two timers,
// turns every request to clean into at most one cleaning at a time, records
// what each cleaning freed, and keeps the status item and the menu current.
// The timers call refreshMemoryInfo() and cleanMemoryNow(), which tests call
// directly; the engine, the settings and the views come in from outside.
class QRMAppDelegate : public QObject {
    Q_OBJECT
public:
    using BackgroundRunner = std::function<void(std::function<void()> task)>;

    struct Services {
        MemoryEngine &engine;
        AppSettings &settings;
        Localizer localized;
        UrlOpener &urlOpener;
        // Attached by awakeFromNib(); may stay null (no status item).
        StatusItemView *statusItem = nullptr;
        // Null: no notifications.
        UserNotifier *notifier = nullptr;
        // Runs a task off the main thread; empty means a new detached thread.
        BackgroundRunner runInBackground;
        // Null: no usage events.
        UsageEvents *usageEvents = nullptr;
        // Null: no update checks.
        UpdateChecks *updater = nullptr;
        // Null: the first run adds no login item.
        LoginItems *loginItems = nullptr;
        // What a login item starts.
        QString loginItemPath = {};
        // Null: no cleaning on other applications' events.
        ApplicationEventSource *applicationEvents = nullptr;
        // Starts the applications catalogue's search off the main thread;
        // empty: no catalogue.
        std::function<void()> searchApplicationsAndUtilitiesInBackground = {};
    };

    // Takes the first sample (which may already start a cleaning, when a
    // threshold is crossed) and starts listening to the engine.
    explicit QRMAppDelegate(Services services, QObject *parent = nullptr);
    ~QRMAppDelegate() override;

    // Shows the status item with its menu and titles, and reports the launch.
    void awakeFromNib();
    // Turns automatic update checks on at the first run, starts the timers
    // and records the build that ran.
    void applicationDidFinishLaunching();

    void setupRefreshMemoryInfoTimer();
    void invalidateRefreshMemoryInfoTimer();
    void setupAutoCleanEveryTimeTimer();
    void invalidateAutoCleanEveryTimeTimer();
    const QTimer &refreshMemoryInfoTimer() const { return refreshMemoryInfoTimer_; }
    const QTimer &autoCleanEveryTimeTimer() const { return autoCleanEveryTimeTimer_; }

    bool memoryCleaningInProgress() const { return memoryCleaningInProgress_; }
    void setMemoryCleaningInProgress(bool inProgress);
    void checkToAutoClean();

    void refreshStatusMenu();
    QRMStatusMenu &statusMenu() { return statusMenu_; }

    QString getTotallyCleanedString() const;

    // Drops the request while a cleaning is in progress.
    void cleanMemoryNow(CleaningTrigger trigger = CleaningTrigger::Automatic);
    // Takes the monitored-application list from the settings; watches other
    // applications only while one of its records has an event flag on.
    void loadPreferences();
    // Cleans when the first record with this application's id whose flag
    // named key is true is found; records with the flag off or missing are
    // passed over, so a later record with the same id still counts. The
    // misspelt name is the method's historic one.
    void preformAction(const QString &applicationId, const QString &key);
    // Starts a search of the applications catalogue in the background.
    void searchApplicationsAndUtilities();

public slots:
    void refreshMemoryInfo();
    void languageDidChanged();
    void shouldShowPreferencesWindow();

    void showPreferencesWindow();
    void checkForUpdates();
    void showWelcomePage();
    void showTweetLastTimeCleanedMenuItem();
    void showTweetMaxCleanedMenuItem();
    void showTweetTotallyCleanedMenuItem();
    void showCustomerSupportPage();
    void showLearnMorePage();
    void showProductPage();
    void showPrivacyPage();
    // From the welcome window: its first page loaded, or the user closed it.
    void welcomeWindowDidLoad();
    void welcomeWindowWillClose();

signals:
    // Emitted at the end of setMemoryCleaningInProgress().
    void memoryCleaningInProgressChanged(bool inProgress);
    // Asks for a window that the controller does not own.
    void preferencesWindowRequested();
    void welcomePageRequested();

private:
    // "memoryCleaned" from the engine, on its cleaning thread.
    void memoryCleaned();
    void setMemoryCleaningInProgressToNO();
    // The engine refused: the attempt ends without a result, and the
    // thresholds wait for the next refresh tick.
    void memoryCleaningDeclined();
    // The end of a cleaning that completed: what it freed, recorded and told.
    void recordCleaning();
    void enableCleanCommandAgain();
    void backgroundTaskFinished();
    void setStatusItemTitle(const QString &title);
    void refreshStatusItemTitle();
    void refreshStatusItemImage();
    void showWelcomePageIfNeeded();
    void openSharePage(const QString &page, const QString &figure, const QString &campaign);
    void openSitePage(const QString &pathFormat, const QString &campaign);
    void connectMenuCommands();

    MemoryEngine &engine_;
    AppSettings &settings_;
    Localizer localized_;
    UrlOpener &urlOpener_;
    StatusItemView *pendingStatusItem_;
    StatusItemView *statusItem_ = nullptr;
    UserNotifier *notifier_;
    UsageEvents *usageEvents_;
    UpdateChecks *updater_;
    LoginItems *loginItems_;
    QString loginItemPath_;
    BackgroundRunner runInBackground_;
    ApplicationEventSource *applicationEvents_;
    std::function<void()> searchApplicationsAndUtilitiesInBackground_;
    QList<QVariantMap> applicationsPreferences_;
    int memoryCleanedObserver_ = -1;
    // Background tasks still running; the destructor waits for them, since
    // each hands its result back to this object.
    std::mutex backgroundMutex_;
    std::condition_variable backgroundFinished_;
    int backgroundTasks_ = 0;

    QRMStatusMenu statusMenu_;
    QTimer refreshMemoryInfoTimer_;
    QTimer autoCleanEveryTimeTimer_;
    QImage statusBarIconStatic2D_;
    QImage statusBarIconStatic3D_;

    // The language the static menu titles were last set in.
    QString staticTitlesLanguage_;
    bool memoryCleaningInProgress_ = false;
    CleaningTrigger cleaningTrigger_ = CleaningTrigger::Automatic;
    // Started by the threshold check at the end of a completed cleaning.
    bool chainedCleaning_ = false;
    uint64_t freeMemoryBefore_ = 0;
    uint64_t freeMemoryAfter_ = 0;
};

}  // namespace tarnwell
