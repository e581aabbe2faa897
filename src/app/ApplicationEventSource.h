#pragma once

#include <functional>

#include <QString>

namespace tarnwell {

// The six things other applications do that can trigger a cleaning, in the
// order of the monitored-application record's flags.
enum class ApplicationEvent {
    DidLaunch,
    DidTerminate,
    DidHide,
    DidUnhide,
    DidActivate,
    DidDeactivate
};

// Reports other applications' events on the main thread, each application
// known by its desktop-file id. Watching costs something (a display
// connection, a wake-up per window change), so the controller starts it only
// while a monitored application has a flag on.
class ApplicationEventSource {
public:
    using Handler = std::function<void(ApplicationEvent event, const QString &applicationId)>;

    virtual ~ApplicationEventSource() = default;
    // Starting again replaces the handler; stopping when stopped does nothing.
    virtual void startMonitoring(Handler handler) = 0;
    virtual void stopMonitoring() = 0;
};

}  // namespace tarnwell
