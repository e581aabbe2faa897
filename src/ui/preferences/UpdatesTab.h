#pragma once

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;

namespace tarnwell {

// The Updates tab: the feed in use (stable, beta, alpha), automatic checks
// with their interval, automatic downloads, and the version and build.
class UpdatesTab : public QWidget {
    Q_OBJECT
public:
    explicit UpdatesTab(PreferencesServices &services, QWidget *parent = nullptr);

    void languageDidChanged();
    // Shows the feed in use; a stored address that is none of the three
    // shows as stable.
    void selectCurrentFeed();
    // The pop-up's choice: re-selecting the feed in use does nothing;
    // another stores its address, which points the updater at it and runs a
    // silent check.
    void changeUpdatesFeed(int selectedIndex);

    QGroupBox *applicationUpdates;
    QComboBox *updatesFeedNSPopUpButton;
    QCheckBox *automaticUpdateCheckBox;
    QComboBox *updateCheckInterval;  // the hourly, daily, weekly and monthly items
    // Misspelt on purpose: the name is kept.
    QCheckBox *automaticDowloadUpdateCheckBox;
    QGroupBox *versionAndBuildNumber;
    QLabel *versionAndBuildNumberInfo;

private:
    // 0 stable, 1 beta, 2 alpha, or -1 for an address that is none of them.
    int currentFeedIndex();
    void refreshUpdaterControls();

    PreferencesServices &services_;
};

}  // namespace tarnwell
