#include "QRMEventManager.h"

#include "BuildInfo.h"
#include "analytics/EVTConfiguration.h"
#include "analytics/EVTEvents.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

QRMEventManager &QRMEventManager::sharedEventManager() {
    static QRMEventManager manager(
        QRMMemoryInfo::sharedMemoryInfo(), QRMPreferencesManager::sharedPreferencesManager(),
        QString::fromLatin1(kMarketingVersion), QString::fromLatin1(kBuildNumber));
    return manager;
}

QRMEventManager::QRMEventManager(QRMMemoryInfo &memoryInfo, QRMPreferencesManager &preferences,
                                 QString bundleVersion, QString bundleBuild)
    : memoryInfo_(memoryInfo),
      preferences_(preferences),
      bundleVersion_(std::move(bundleVersion)),
      bundleBuild_(std::move(bundleBuild)) {}

void QRMEventManager::startEvents(const QString &bundleIdentifier, const QString &installId,
                                  const QString &sessionId) {
    // Before the start: switched off, the kit must not send what it finds.
    collectionEnabled();
    EVTConfiguration configuration =
        EVTConfiguration::forApplication(bundleIdentifier, bundleVersion_, bundleBuild_);
    configuration.installId = installId;
    configuration.sessionId = sessionId;
    EVTEvents::start(configuration);
}

void QRMEventManager::stopEvents() {
    EVTEvents::stop();
}

EVTAttributes QRMEventManager::customAttributes() const {
    const QRMStatisticsRecord record = memoryInfo_.info();
    const auto installed = record.find("hardwareMemorySize");
    const uint64_t bytes = installed == record.end() ? 0 : installed->second.toUInt64();
    return {
        {QStringLiteral("Bundle Version"), bundleVersion_},
        {QStringLiteral("Bundle Build"), bundleBuild_},
        {QStringLiteral("Memory Installed"),
         QString::fromStdString(QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, false))},
    };
}

bool QRMEventManager::collectionEnabled() const {
    // Read at every event: the setting can change from the settings command
    // of another process while this one runs.
    const bool enabled = preferences_.collectUsageEvents();
    EVTEvents::setCollectionEnabled(enabled);
    return enabled;
}

void QRMEventManager::contentViewWithName(const QString &contentName, const QString &contentType,
                                          const QString &contentId) {
    if (collectionEnabled()) {
        EVTEvents::logContentViewWithName(contentName, contentType, contentId, customAttributes());
    }
}

void QRMEventManager::firstRun() {
    if (collectionEnabled()) {
        EVTEvents::logSignUpWithMethod(QStringLiteral("First Run"), true, customAttributes());
    }
}

void QRMEventManager::run() {
    if (collectionEnabled()) {
        EVTEvents::logLoginWithMethod(QStringLiteral("Run"), true, customAttributes());
    }
}

void QRMEventManager::memoryCleaned() {
    if (collectionEnabled()) {
        EVTEvents::logCustomEventWithName(QStringLiteral("Memory is Cleaned"), customAttributes());
    }
}

void QRMEventManager::applicationDidBecomeActive() {
    EVTEvents::logLifecycleEvent(EVTLifecycle::DidBecomeActive);
}

void QRMEventManager::applicationWillResignActive() {
    EVTEvents::logLifecycleEvent(EVTLifecycle::WillResignActive);
}

void QRMEventManager::applicationWillTerminate() {
    EVTEvents::logLifecycleEvent(EVTLifecycle::WillTerminate);
}

}  // namespace tarnwell
