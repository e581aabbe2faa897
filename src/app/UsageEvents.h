#pragma once

#include <QString>

namespace tarnwell {

// The usage events the controller reports. The production implementation
// forwards to the analytics facade; without one nothing is reported.
class UsageEvents {
public:
    virtual ~UsageEvents() = default;
    // The first launch ever, or any later one.
    virtual void firstRun() = 0;
    virtual void run() = 0;
    // After each completed cleaning; called on the engine's cleaning thread.
    virtual void memoryCleaned() = 0;
    // The application became active (its menu opened or one of its windows took the
    // focus) or stopped being so. Nothing by default.
    virtual void becameActive() {}
    virtual void resignedActive() {}
    // A window finished loading, for example ("Welcome", "Window", "welcomeWindow").
    virtual void contentViewWithName(const QString &contentName, const QString &contentType,
                                     const QString &contentId) = 0;
};

}  // namespace tarnwell
