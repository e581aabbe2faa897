#include "app/ApplicationSession.h"

#include <QCoreApplication>

#include "BuildInfo.h"
#include "app/TerminationSignals.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

ApplicationSession::ApplicationSession(QRMMemoryInfo &memory, StatusItemView *statusItem,
                                       UserNotifier *notifier, UsageEvents *usageEvents)
    : engine_(memory), settings_(QRMPreferencesManager::sharedPreferencesManager()) {
    delegate_ = std::make_unique<QRMAppDelegate>(
        QRMAppDelegate::Services{engine_,
                                 settings_,
                                 [](const QString &key) { return localized(key); },
                                 urlOpener_,
                                 statusItem,
                                 notifier,
                                 {},
                                 usageEvents});
    // Direct, so the menu is in the new language by the time the change returns.
    QObject::connect(&QRMLanguageNotifier::sharedNotifier(),
                     &QRMLanguageNotifier::languageDidChanged, delegate_.get(),
                     &QRMAppDelegate::languageDidChanged, Qt::DirectConnection);
    delegate_->awakeFromNib();
    delegate_->applicationDidFinishLaunching();
}

ApplicationSession::~ApplicationSession() = default;

int runSession(QCoreApplication &app, QRMMemoryInfo &memory, StatusItemView *statusItem,
               UserNotifier *notifier, UsageEvents *usageEvents) {
    QCoreApplication::setApplicationName(QString::fromLatin1(kDisplayName));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kMarketingVersion));
    // A logout or a Ctrl-C ends the event loop, so everything is torn down in
    // order instead of the process dying inside a cleaning.
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, &app,
                     &QCoreApplication::quit);
    ApplicationSession session(memory, statusItem, notifier, usageEvents);
    return app.exec();
}

}  // namespace tarnwell
