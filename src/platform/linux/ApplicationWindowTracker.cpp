#include "platform/linux/ApplicationWindowTracker.h"

namespace tarnwell {

void ApplicationWindowTracker::reset() {
    windows_.clear();
    applications_.clear();
    activeApplication_.clear();
}

void ApplicationWindowTracker::emitEvent(ApplicationEvent event, const QString &applicationId) {
    if (handler_) {
        handler_(event, applicationId);
    }
}

void ApplicationWindowTracker::updateHidden(const QString &applicationId, bool announce) {
    Application &application = applications_[applicationId];
    const bool hidden = application.windows > 0 && application.hiddenWindows == application.windows;
    if (hidden == application.hidden) {
        return;
    }
    application.hidden = hidden;
    if (announce) {
        emitEvent(hidden ? ApplicationEvent::DidHide : ApplicationEvent::DidUnhide, applicationId);
    }
}

void ApplicationWindowTracker::setClientList(const QList<WindowId> &clients,
                                             const std::function<Window(WindowId)> &describe,
                                             bool announce) {
    // Gone first: a program that replaces its only window by another in one
    // change has not terminated and launched again.
    QList<QString> touched;
    for (auto it = windows_.begin(); it != windows_.end();) {
        if (clients.contains(it.key())) {
            ++it;
            continue;
        }
        if (!it->applicationId.isEmpty()) {
            Application &application = applications_[it->applicationId];
            --application.windows;
            application.hiddenWindows -= it->hidden ? 1 : 0;
            touched.append(it->applicationId);
        }
        it = windows_.erase(it);
    }
    QList<QString> launched;
    for (WindowId client : clients) {
        if (windows_.contains(client)) {
            continue;
        }
        const Window window = describe(client);
        windows_.insert(client, window);
        if (window.applicationId.isEmpty()) {
            continue;
        }
        Application &application = applications_[window.applicationId];
        if (application.windows == 0 && !touched.contains(window.applicationId) &&
            !launched.contains(window.applicationId)) {
            launched.append(window.applicationId);
        }
        ++application.windows;
        application.hiddenWindows += window.hidden ? 1 : 0;
        touched.append(window.applicationId);
    }
    for (const QString &applicationId : launched) {
        if (announce) {
            emitEvent(ApplicationEvent::DidLaunch, applicationId);
        }
        applications_[applicationId].hidden = false;
    }
    touched.removeDuplicates();
    for (const QString &applicationId : touched) {
        if (applications_.value(applicationId).windows > 0) {
            updateHidden(applicationId, announce);
            continue;
        }
        // The last window went: a terminated application is no longer active.
        if (activeApplication_ == applicationId) {
            activeApplication_.clear();
            emitEvent(ApplicationEvent::DidDeactivate, applicationId);
        }
        applications_.remove(applicationId);
        emitEvent(ApplicationEvent::DidTerminate, applicationId);
    }
}

void ApplicationWindowTracker::setHidden(WindowId window, bool hidden) {
    const auto found = windows_.find(window);
    if (found == windows_.end() || found->hidden == hidden) {
        return;
    }
    found->hidden = hidden;
    if (found->applicationId.isEmpty()) {
        return;
    }
    applications_[found->applicationId].hiddenWindows += hidden ? 1 : -1;
    updateHidden(found->applicationId, true);
}

void ApplicationWindowTracker::setActiveWindow(WindowId window, bool announce) {
    const auto found = windows_.constFind(window);
    if (window == 0 || found == windows_.cend() || found->applicationId.isEmpty() ||
        found->applicationId == activeApplication_) {
        return;
    }
    const QString previous = activeApplication_;
    activeApplication_ = found->applicationId;
    if (!announce) {
        return;
    }
    if (!previous.isEmpty()) {
        emitEvent(ApplicationEvent::DidDeactivate, previous);
    }
    emitEvent(ApplicationEvent::DidActivate, activeApplication_);
}

}  // namespace tarnwell
