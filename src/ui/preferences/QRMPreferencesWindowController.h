#pragma once

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

class QTabWidget;

namespace tarnwell {

class AppsTab;
class CleaningTab;
class GeneralTab;
class UpdatesTab;

// The preferences window: four tabs (General, Apps, Cleaning, Updates) whose
// controls write their settings at once. Made afresh at every opening and
// deleted when closed, so each opening reads the store again. Ctrl+W closes
// it; closing never quits the program.
class QRMPreferencesWindowController : public QWidget {
    Q_OBJECT
public:
    explicit QRMPreferencesWindowController(PreferencesServices services,
                                            QWidget *parent = nullptr);
    ~QRMPreferencesWindowController() override;

    // Sets every text of the window in the current language.
    void languageDidChanged();

    QTabWidget *tabView;
    GeneralTab *tabGeneral;
    AppsTab *tabApps;
    CleaningTab *tabCleaning;
    UpdatesTab *tabUpdates;

private:
    PreferencesServices services_;
};

}  // namespace tarnwell
