#pragma once

#include <functional>

#include <QString>

#include "app/Localizer.h"
#include "ui/preferences/AppsTabSources.h"

namespace tarnwell {

class LoginItems;
class MemoryEngine;
class QRMAppDelegate;
class QRMLanguageNotifier;
class QRMPreferencesManager;
class UpdateChecks;
class UsageEvents;

// What the preferences window and each of its tabs work with. The window
// controller is made afresh at every opening from one of these, so every
// opening reads the store again.
struct PreferencesServices {
    // Timers, the status item and the cleaning-in-progress flag.
    QRMAppDelegate &appDelegate;
    // Every setting the tabs show and write.
    QRMPreferencesManager &preferences;
    // The statistics record ("hardwareMemorySize" bounds the thresholds).
    MemoryEngine &engine;
    Localizer localized;
    // Carries "languageDidChanged" to the menu and the open windows.
    QRMLanguageNotifier &languageNotifier;
    LoginItems &loginItems;
    // What a login item starts.
    QString applicationPath;
    // Makes the open windows follow the stored showDockIcon; may be empty.
    std::function<void()> showDockIconChanged;
    // Null: no usage events.
    UsageEvents *usageEvents = nullptr;
    // Automatic checks, their interval and downloads; null: shown off.
    UpdateChecks *updater = nullptr;
    // What the Apps tab offers; by default running applications only, none.
    AppsTabSources apps = {};
};

}  // namespace tarnwell
