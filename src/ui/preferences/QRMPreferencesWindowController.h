#pragma once

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

class QTabWidget;
class QTimer;

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

signals:
    // The desktop switched between light and dark: images drawn in the
    // palette's colours are drawn again (the Apps tab's "+" and "-").
    void themeChanged();

protected:
    void changeEvent(QEvent *event) override;

private:
    PreferencesServices services_;
    QTimer *themeChangeDelay_ = nullptr;
};

}  // namespace tarnwell
