#pragma once

namespace tarnwell {

// The updater as the controller drives it: the first run's settings, the
// background check at start and the menu's "Check for Updates...".
class UpdateChecks {
public:
    virtual ~UpdateChecks() = default;
    virtual void setAutomaticallyChecksForUpdates(bool on) = 0;
    virtual void setAutomaticallyDownloadsUpdates(bool on) = 0;
    // Speaks only when there is something new.
    virtual void checkForUpdatesInBackground() = 0;
    // Always answers: up to date, a new version, or why the check failed.
    virtual void checkForUpdates() = 0;
};

}  // namespace tarnwell
