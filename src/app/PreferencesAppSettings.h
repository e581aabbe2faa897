#pragma once

#include "app/AppSettings.h"

namespace tarnwell {

class QRMPreferencesManager;

// The controller's settings, read from and written to the preferences store.
class PreferencesAppSettings : public AppSettings {
public:
    explicit PreferencesAppSettings(QRMPreferencesManager &preferences)
        : preferences_(preferences) {}

    int64_t statusBarTextType() override;
    bool statusBarTextWithInfo() override;
    int64_t statusBarIconType() override;
    double refreshRate() override;
    double autoCleanEveryTime() override;
    bool autoCleanEveryTimeChecked() override;
    bool autoCleanByFreeSizeChecked() override;
    int64_t autoCleanByFreeSize() override;
    bool autoCleanByInactiveSizeChecked() override;
    int64_t autoCleanByInactiveSize() override;
    bool showNotificationsAfterCleaning() override;
    uint64_t lastTimeCleaned() override;
    void setLastTimeCleaned(uint64_t bytes) override;
    uint64_t maxCleaned() override;
    void setMaxCleaned(uint64_t bytes) override;
    RunningTotal totallyCleaned() override;
    void setTotallyCleaned(RunningTotal total) override;
    QList<QVariantMap> applicationsAndUtilitiesToMonitoring() override;
    bool isFirstRun() override;
    bool isWelcomeShown() override;
    void setIsWelcomeShown(bool shown) override;
    QString bundleBuild() override;
    void setBundleBuild(const QString &build) override;

private:
    QRMPreferencesManager &preferences_;
};

}  // namespace tarnwell
