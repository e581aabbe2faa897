#pragma once

#include <QString>

#include "analytics/EVTAttributeDictionary.h"

namespace tarnwell {

class QRMMemoryInfo;
class QRMPreferencesManager;

// The one place the application reports usage through. Each happening
// becomes one call on the events kit with the same small set of application
// attributes; the kit does the buffering, the files and the upload. Nothing
// is recorded while the user's "collectUsageEvents" setting is off, and
// switching it off removes the event files already made.
//
// Every method may be called from any thread and returns at once.
class QRMEventManager {
public:
    // The process-wide instance over the shared memory sampler and
    // preferences store and this build's version and build number.
    static QRMEventManager &sharedEventManager();

    QRMEventManager(QRMMemoryInfo &memoryInfo, QRMPreferencesManager &preferences,
                    QString bundleVersion, QString bundleBuild);

    // Starts the events kit for this application: its folder under the
    // user's data folder, and the endpoint and key of the build or of
    // TARNWELL_EVENTS_URL / TARNWELL_EVENTS_KEY. Called once at start-up,
    // before the first event; stopEvents() at shutdown writes what is queued.
    // installId, sessionId: the run's identity shared with the crash reporter.
    void startEvents(const QString &bundleIdentifier, const QString &installId = {},
                     const QString &sessionId = {});
    void stopEvents();

    // "Bundle Version", "Bundle Build", "Memory Installed", built afresh
    // for every event.
    EVTAttributes customAttributes() const;

    // A window finished loading: ("Preferences", "Window",
    // "preferencesWindow") or ("Welcome", "Window", "welcomeWindow").
    void contentViewWithName(const QString &contentName, const QString &contentType,
                             const QString &contentId);
    // The first launch ever, reported as a sign-up; every later launch is
    // a log-in (run). The service's dashboards count them as such.
    void firstRun();
    void run();
    // After each completed cleaning, whatever started it.
    void memoryCleaned();

    // The application became active or inactive (the current event file is
    // sent at once), or is about to quit.
    void applicationDidBecomeActive();
    void applicationWillResignActive();
    void applicationWillTerminate();

private:
    // Reads the setting and passes it to the kit; true when events are wanted.
    bool collectionEnabled() const;

    QRMMemoryInfo &memoryInfo_;
    QRMPreferencesManager &preferences_;
    QString bundleVersion_;
    QString bundleBuild_;
};

}  // namespace tarnwell
