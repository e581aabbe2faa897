#pragma once

#include <QWidget>

#include "preferences/QRMSettingsTable.h"
#include "ui/preferences/PreferencesServices.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QSlider;

namespace tarnwell {

// Start at login, taskbar presence, language, refresh rate, what the status
// item shows, notifications. Each control writes its setting at once and
// pokes whatever running part must follow.
class GeneralTab : public QWidget {
    Q_OBJECT
public:
    explicit GeneralTab(PreferencesServices &services, QWidget *parent = nullptr);

    // Sets every text in the current language.
    void languageDidChanged();

    QGroupBox *generalBasic;
    QGroupBox *generalAdditional;
    QGroupBox *generalAdvanced;
    QGroupBox *generalVisuals;
    QGroupBox *generalNotifications;
    QCheckBox *startApplicationWhenComputerStarts;
    QCheckBox *showDockIcon;
    QLabel *language;
    QComboBox *languageComboBox;
    QLabel *updateEvery;
    QSlider *refreshRateSlider;
    QLabel *updateEverySec;
    QLabel *updateEveryInfo;
    QLabel *statusBarText;
    QComboBox *statusBarTextComboBox;
    QCheckBox *statusBarTextWithInfo;
    QLabel *statusBarIcon;
    QComboBox *statusBarIconComboBox;
    QLabel *statusBarTextPlacement;
    QComboBox *statusBarTextPlacementComboBox;
    QLabel *statusBarAppearance;
    QComboBox *statusBarAppearanceComboBox;
    QCheckBox *showNotificationsAfterCleaning;

private:
    void onStartApplicationWhenComputerStarts();
    void onShowDockIcon(bool on);
    void changeLanguage(int index);
    void changeRefreshRate(int seconds);
    void onStatusBarText(int index);
    void onStatusBarTextWithInfo(bool on);
    void onStatusBarIcon(int index);
    void onShowNotificationsAfterCleaning(bool on);
    // Where the status item's text goes and which panel colour it assumes.
    void onPanelChoice(Setting setting, int index);
    // Refills the two pop-ups so that text and icon are never both "None".
    void statusBarTextAndIconBlockRefresh();
    void showRefreshRate();
    void showLoginItemState();

    PreferencesServices &services_;
    // Offset between a pop-up's item index and the stored type: 0 while the
    // pop-up offers "None", -1 while it does not.
    int adjustmentText_ = 0;
    int adjustmentIcon_ = 0;
};

}  // namespace tarnwell
