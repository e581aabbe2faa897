#pragma once

#include <cstdint>
#include <functional>

#include <QHash>
#include <QList>
#include <QString>

#include "app/ApplicationEventSource.h"

namespace tarnwell {

// Turns what a window manager says about its client windows into
// application events: an application launches with its first window and
// terminates with its last, is hidden when all its windows are minimised and
// unhidden when one comes back, and is active while one of its windows has
// the focus. It knows nothing of X; the monitor feeds it.
class ApplicationWindowTracker {
public:
    using WindowId = uint32_t;
    struct Window {
        QString applicationId;  // empty: no application, ignored
        bool hidden = false;
    };

    explicit ApplicationWindowTracker(ApplicationEventSource::Handler handler)
        : handler_(std::move(handler)) {}

    // Forgets everything without events: a (re)connection starts from what
    // is on screen, and what ran before it is not news.
    void reset();
    bool isTracked(WindowId window) const { return windows_.contains(window); }

    // The client list as it is now. New windows are described by describe()
    // once; windows that left the list are forgotten. With announce false
    // (the first list after a connection) no launch is reported.
    void setClientList(const QList<WindowId> &clients,
                       const std::function<Window(WindowId)> &describe, bool announce = true);
    void setHidden(WindowId window, bool hidden);
    // 0, repeats and windows outside the client list are ignored: window
    // managers pass through 0 on every switch and keep a closed window's id.
    void setActiveWindow(WindowId window, bool announce = true);

private:
    struct Application {
        int windows = 0;
        int hiddenWindows = 0;
        bool hidden = false;
    };

    void emitEvent(ApplicationEvent event, const QString &applicationId);
    void updateHidden(const QString &applicationId, bool announce);

    ApplicationEventSource::Handler handler_;
    QHash<WindowId, Window> windows_;
    QHash<QString, Application> applications_;
    QString activeApplication_;
};

}  // namespace tarnwell
