#pragma once

#include <QtGlobal>

namespace tarnwell {

// The intervals offered for automatic checks, in seconds.
namespace updateInterval {
inline constexpr qint64 kHourly = 3600;
inline constexpr qint64 kDaily = 86'400;
inline constexpr qint64 kWeekly = 604'800;
inline constexpr qint64 kMonthly = 2'629'800;  // a twelfth of a Julian year
}  // namespace updateInterval

// The updater as the controller and the Updates tab drive it: the first
// run's settings, the background check at start, the menu's "Check for
// Updates..." and the tab's automatic checks, interval and downloads.
class UpdateChecks {
public:
    virtual ~UpdateChecks() = default;
    virtual bool automaticallyChecksForUpdates() = 0;
    virtual void setAutomaticallyChecksForUpdates(bool on) = 0;
    // Seconds between automatic checks.
    virtual qint64 updateCheckInterval() = 0;
    virtual void setUpdateCheckInterval(qint64 seconds) = 0;
    virtual bool automaticallyDownloadsUpdates() = 0;
    virtual void setAutomaticallyDownloadsUpdates(bool on) = 0;
    // Speaks only when there is something new.
    virtual void checkForUpdatesInBackground() = 0;
    // Always answers: up to date, a new version, or why the check failed.
    virtual void checkForUpdates() = 0;
};

}  // namespace tarnwell
