#include "app/ApplicationSession.h"

#include <filesystem>

#include <QCoreApplication>

#include "BuildInfo.h"
#include "app/TerminationSignals.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "memory/LinuxMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

namespace {

std::unique_ptr<QRMMemoryInfo> capturedMemoryInfo() {
    const QString root = qEnvironmentVariable("TARNWELL_MEMORY_ROOT");
    if (root.isEmpty()) {
        return nullptr;
    }
    const std::filesystem::path base = root.toStdString();
    return std::make_unique<QRMMemoryInfo>(
        std::make_unique<LinuxMemorySource>(base / "proc", base / "sys"));
}

}  // namespace

ApplicationSession::ApplicationSession(StatusItemView *statusItem, UserNotifier *notifier,
                                       UsageEvents *usageEvents,
                                       ApplicationEventSource *applicationEvents,
                                       std::function<void()> searchApplicationsAndUtilities)
    : capturedMemoryInfo_(capturedMemoryInfo()),
      engine_(capturedMemoryInfo_ ? *capturedMemoryInfo_ : QRMMemoryInfo::sharedMemoryInfo()),
      settings_(QRMPreferencesManager::sharedPreferencesManager()) {
    delegate_ = std::make_unique<QRMAppDelegate>(
        QRMAppDelegate::Services{engine_,
                                 settings_,
                                 [](const QString &key) { return localized(key); },
                                 urlOpener_,
                                 statusItem,
                                 notifier,
                                 {},
                                 usageEvents,
                                 applicationEvents,
                                 std::move(searchApplicationsAndUtilities)});
    // Direct, so the menu is in the new language by the time the change returns.
    QObject::connect(&QRMLanguageNotifier::sharedNotifier(),
                     &QRMLanguageNotifier::languageDidChanged, delegate_.get(),
                     &QRMAppDelegate::languageDidChanged, Qt::DirectConnection);
    delegate_->awakeFromNib();
    delegate_->applicationDidFinishLaunching();
}

ApplicationSession::~ApplicationSession() = default;

int runSession(QCoreApplication &app, StatusItemView *statusItem, UserNotifier *notifier,
               UsageEvents *usageEvents, ApplicationEventSource *applicationEvents,
               std::function<void()> searchApplicationsAndUtilities) {
    QCoreApplication::setApplicationName(QString::fromLatin1(kDisplayName));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kMarketingVersion));
    // A logout or a Ctrl-C ends the event loop, so everything is torn down in
    // order instead of the process dying inside a cleaning.
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, &app,
                     &QCoreApplication::quit);
    ApplicationSession session(statusItem, notifier, usageEvents, applicationEvents,
                               std::move(searchApplicationsAndUtilities));
    return app.exec();
}

}  // namespace tarnwell
