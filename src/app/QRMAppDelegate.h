#pragma once

#include <functional>

#include <QImage>
#include <QObject>
#include <QTimer>

#include "app/ApplicationEventSource.h"
#include "app/Localizer.h"
#include "app/QRMStatusMenu.h"

namespace tarnwell {

class AppSettings;
class MemoryEngine;
class StatusItemView;
class UrlOpener;
class UsageEvents;
class UserNotifier;

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
        // Null: no cleaning on other applications' events.
        ApplicationEventSource *applicationEvents = nullptr;
        // Starts the applications catalogue's search off the main thread;
        // empty: no catalogue.
        std::function<void()> searchApplicationsAndUtilitiesInBackground;
    };

    // Takes the first sample (which may already start a cleaning, when a
    // threshold is crossed) and starts listening to the engine.
    explicit QRMAppDelegate(Services services, QObject *parent = nullptr);
    ~QRMAppDelegate() override;

    // Shows the status item with its menu and titles, and reports the launch.
    void awakeFromNib();
    // Starts the timers and records the build that ran.
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
    void cleanMemoryNow();
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

signals:
    // Emitted at the end of setMemoryCleaningInProgress().
    void memoryCleaningInProgressChanged(bool inProgress);
    // Asks for a window that the controller does not own.
    void preferencesWindowRequested();
    void updateCheckRequested();
    void welcomePageRequested();

private:
    // "memoryCleaned" from the engine, on its cleaning thread.
    void memoryCleaned();
    void setMemoryCleaningInProgressToNO();
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
    BackgroundRunner runInBackground_;
    ApplicationEventSource *applicationEvents_;
    std::function<void()> searchApplicationsAndUtilitiesInBackground_;
    QList<QVariantMap> applicationsPreferences_;
    int memoryCleanedObserver_ = -1;

    QRMStatusMenu statusMenu_;
    QTimer refreshMemoryInfoTimer_;
    QTimer autoCleanEveryTimeTimer_;
    QImage statusBarIconStatic2D_;
    QImage statusBarIconStatic3D_;

    bool memoryCleaningInProgress_ = false;
    uint64_t freeMemoryBefore_ = 0;
    uint64_t freeMemoryAfter_ = 0;
};

}  // namespace tarnwell
