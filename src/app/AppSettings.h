#pragma once

#include <cstdint>

#include <QList>
#include <QString>
#include <QVariantMap>

#include "app/CleaningStatistics.h"

namespace tarnwell {

// The settings the controller reads and the cleaning statistics it writes,
// named as in the preferences store. Production forwards to the store; tests
// keep plain fields.
class AppSettings {
public:
    virtual ~AppSettings() = default;

    // 0 no text, 1 free per cent, 2 free size.
    virtual int64_t statusBarTextType() = 0;
    virtual bool statusBarTextWithInfo() = 0;
    // 0 none, 1 static 2D, 2 static 3D, 3 black pie, 4 colour pie.
    virtual int64_t statusBarIconType() = 0;

    virtual double refreshRate() = 0;         // seconds
    virtual double autoCleanEveryTime() = 0;  // minutes
    virtual bool autoCleanEveryTimeChecked() = 0;
    virtual bool autoCleanByFreeSizeChecked() = 0;
    virtual int64_t autoCleanByFreeSize() = 0;  // MiB
    virtual bool autoCleanByInactiveSizeChecked() = 0;
    virtual int64_t autoCleanByInactiveSize() = 0;  // MiB
    virtual bool showNotificationsAfterCleaning() = 0;

    virtual uint64_t lastTimeCleaned() = 0;
    virtual void setLastTimeCleaned(uint64_t bytes) = 0;
    virtual uint64_t maxCleaned() = 0;
    virtual void setMaxCleaned(uint64_t bytes) = 0;
    // Stored as the settings totallyCleaned (count) and totallyCleanedDigit.
    virtual RunningTotal totallyCleaned() = 0;
    virtual void setTotallyCleaned(RunningTotal total) = 0;

    // The monitored-application records; empty when none are stored.
    virtual QList<QVariantMap> applicationsAndUtilitiesToMonitoring() = 0;

    // True until a build number has been stored.
    virtual bool isFirstRun() = 0;
    virtual bool isWelcomeShown() = 0;
    virtual void setIsWelcomeShown(bool shown) = 0;
    virtual QString bundleBuild() = 0;
    virtual void setBundleBuild(const QString &build) = 0;
};

}  // namespace tarnwell
