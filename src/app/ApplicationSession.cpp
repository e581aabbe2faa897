#include "app/ApplicationSession.h"

#include <QCoreApplication>

#include "BuildInfo.h"
#include "app/TerminationSignals.h"
#include "app/WelcomeWindowProcess.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

ApplicationSession::ApplicationSession(QRMMemoryInfo &memory, StatusItemView *statusItem,
                                       UserNotifier *notifier, UsageEvents *usageEvents,
                                       WelcomeWindowProcess *welcome, UpdateChecks *updater,
                                       LoginItems *loginItems, const QString &loginItemPath,
                                       ApplicationEventSource *applicationEvents,
                                       std::function<void()> searchApplicationsAndUtilities)
    : engine_(memory), settings_(QRMPreferencesManager::sharedPreferencesManager()) {
    delegate_ = std::make_unique<QRMAppDelegate>(
        QRMAppDelegate::Services{engine_,
                                 settings_,
                                 [](const QString &key) { return localized(key); },
                                 urlOpener_,
                                 statusItem,
                                 notifier,
                                 {},
                                 usageEvents,
                                 updater,
                                 loginItems,
                                 loginItemPath,
                                 applicationEvents,
                                 std::move(searchApplicationsAndUtilities)});
    // Direct, so the menu is in the new language by the time the change returns.
    QObject::connect(&QRMLanguageNotifier::sharedNotifier(),
                     &QRMLanguageNotifier::languageDidChanged, delegate_.get(),
                     &QRMAppDelegate::languageDidChanged, Qt::DirectConnection);
    activity_ = std::make_unique<ApplicationActivity>(*delegate_->statusMenu().menu(), usageEvents);
    if (welcome) {
        connectWelcomeWindow(*welcome);
    }
    delegate_->awakeFromNib();
    delegate_->applicationDidFinishLaunching();
}

ApplicationSession::~ApplicationSession() = default;

void ApplicationSession::connectWelcomeWindow(WelcomeWindowProcess &welcome) {
    QRMAppDelegate *delegate = delegate_.get();
    QObject::connect(delegate, &QRMAppDelegate::welcomePageRequested, &welcome,
                     &WelcomeWindowProcess::showWelcomePage);
    QObject::connect(&QRMLanguageNotifier::sharedNotifier(),
                     &QRMLanguageNotifier::languageDidChanged, &welcome,
                     &WelcomeWindowProcess::languageDidChanged);
    QObject::connect(&welcome, &WelcomeWindowProcess::showPreferencesWindowRequested, delegate,
                     &QRMAppDelegate::showPreferencesWindow);
    QObject::connect(&welcome, &WelcomeWindowProcess::windowDidLoad, delegate,
                     &QRMAppDelegate::welcomeWindowDidLoad);
    QObject::connect(&welcome, &WelcomeWindowProcess::windowWillClose, delegate,
                     &QRMAppDelegate::welcomeWindowWillClose);
}

int runSession(QCoreApplication &app, QRMMemoryInfo &memory, StatusItemView *statusItem,
               UserNotifier *notifier, UsageEvents *usageEvents, WelcomeWindowProcess *welcome,
               UpdateChecks *updater, LoginItems *loginItems, const QString &loginItemPath,
               const SessionWindows &windows, ApplicationEventSource *applicationEvents,
               std::function<void()> searchApplicationsAndUtilities) {
    QCoreApplication::setApplicationName(QString::fromLatin1(kDisplayName));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kMarketingVersion));
    // A logout or a Ctrl-C ends the event loop, so everything is torn down in
    // order instead of the process dying inside a cleaning.
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, &app,
                     &QCoreApplication::quit);
    ApplicationSession session(memory, statusItem, notifier, usageEvents, welcome, updater,
                               loginItems, loginItemPath, applicationEvents,
                               std::move(searchApplicationsAndUtilities));
    const std::unique_ptr<QObject> openWindows = windows ? windows(session) : nullptr;
    return app.exec();
}

}  // namespace tarnwell
