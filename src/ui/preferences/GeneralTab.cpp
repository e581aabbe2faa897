#include "ui/preferences/GeneralTab.h"

#include <chrono>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

#include "app/LoginItems.h"
#include "app/QRMAppDelegate.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"
#include "ui/preferences/PreferencesControls.h"

namespace tarnwell {

namespace {

constexpr int kMinRefreshRate = 1;   // seconds
constexpr int kMaxRefreshRate = 60;  // seconds
constexpr qint64 kTextTypes = 3;     // none, percentage, free size
constexpr qint64 kIconTypes = 5;     // none, 2D, 3D, black pie, colour pie
constexpr qint64 kPanelChoices = 3;  // automatic and the two forced ones

// Just over a tenth of a second: the autostart folder is read again after a
// click, so the box shows what is really there, not what was clicked. Qt
// timers count whole milliseconds, so the delay is rounded up.
constexpr auto kLoginItemRereadDelay =
    std::chrono::ceil<std::chrono::milliseconds>(std::chrono::nanoseconds(100'000'001));

// The stored type when it is one the pop-up offers, else the default.
qint64 storedOrDefault(QRMPreferencesManager &preferences, Setting setting, qint64 count) {
    const qint64 stored = preferences.value(setting).toLongLong();
    return stored >= 0 && stored < count ? stored : preferences.defaultValue(setting).toLongLong();
}

// Refills a pop-up with its items in the current language and selects one.
void fillPopUp(QComboBox *popUp, std::initializer_list<const char *> keys, qint64 selected,
               const Localizer &localized) {
    popUp->clear();
    for (const char *key : keys) {
        popUp->addItem(localized(QString::fromLatin1(key)));
    }
    popUp->setCurrentIndex(selected >= 0 && selected < popUp->count() ? int(selected) : 0);
}

}  // namespace

GeneralTab::GeneralTab(PreferencesServices &services, QWidget *parent)
    : QWidget(parent), services_(services) {
    auto *page = new QVBoxLayout(this);

    startApplicationWhenComputerStarts = new QCheckBox;
    languageComboBox = new QComboBox;
    language = new QLabel;
    language->setBuddy(languageComboBox);
    auto *basic = new QFormLayout;
    basic->addRow(startApplicationWhenComputerStarts);
    basic->addRow(language, languageComboBox);
    generalBasic = addBox(page, basic);

    showDockIcon = new QCheckBox;
    generalAdditional = addBox(page, new QVBoxLayout);
    generalAdditional->layout()->addWidget(showDockIcon);

    updateEvery = new QLabel;
    refreshRateSlider = new QSlider(Qt::Horizontal);
    refreshRateSlider->setRange(kMinRefreshRate, kMaxRefreshRate);
    refreshRateSlider->setPageStep(5);
    updateEvery->setBuddy(refreshRateSlider);
    updateEverySec = new QLabel;
    updateEverySec->setMinimumWidth(
        updateEverySec->fontMetrics().horizontalAdvance(QStringLiteral("000 000")));
    updateEveryInfo = new QLabel;
    updateEveryInfo->setWordWrap(true);
    auto *sliderRow = new QHBoxLayout;
    sliderRow->addWidget(updateEvery);
    sliderRow->addWidget(refreshRateSlider, 1);
    sliderRow->addWidget(updateEverySec);
    auto *advanced = new QVBoxLayout;
    advanced->addLayout(sliderRow);
    advanced->addWidget(updateEveryInfo);
    generalAdvanced = addBox(page, advanced);

    statusBarText = new QLabel;
    statusBarTextComboBox = new QComboBox;
    statusBarText->setBuddy(statusBarTextComboBox);
    statusBarTextWithInfo = new QCheckBox;
    statusBarIcon = new QLabel;
    statusBarIconComboBox = new QComboBox;
    statusBarIcon->setBuddy(statusBarIconComboBox);
    auto *visuals = new QFormLayout;
    visuals->addRow(statusBarText, statusBarTextComboBox);
    visuals->addRow(QString(), statusBarTextWithInfo);
    visuals->addRow(statusBarIcon, statusBarIconComboBox);
    statusBarTextPlacement = new QLabel;
    statusBarTextPlacementComboBox = new QComboBox;
    statusBarTextPlacement->setBuddy(statusBarTextPlacementComboBox);
    visuals->addRow(statusBarTextPlacement, statusBarTextPlacementComboBox);
    statusBarAppearance = new QLabel;
    statusBarAppearanceComboBox = new QComboBox;
    statusBarAppearance->setBuddy(statusBarAppearanceComboBox);
    visuals->addRow(statusBarAppearance, statusBarAppearanceComboBox);
    generalVisuals = addBox(page, visuals);

    showNotificationsAfterCleaning = new QCheckBox;
    generalNotifications = addBox(page, new QVBoxLayout);
    generalNotifications->layout()->addWidget(showNotificationsAfterCleaning);
    page->addStretch(1);

    // Values, then actions: setting a value must not count as a user's change.
    QRMPreferencesManager &preferences = services_.preferences;
    showLoginItemState();
    showDockIcon->setChecked(preferences.showDockIcon());
    showRefreshRate();
    statusBarTextWithInfo->setChecked(preferences.statusBarTextWithInfo());
    showNotificationsAfterCleaning->setChecked(preferences.showNotificationsAfterCleaning());

    connect(startApplicationWhenComputerStarts, &QCheckBox::clicked, this,
            &GeneralTab::onStartApplicationWhenComputerStarts);
    connect(showDockIcon, &QCheckBox::clicked, this, &GeneralTab::onShowDockIcon);
    connect(languageComboBox, &QComboBox::activated, this, &GeneralTab::changeLanguage);
    connect(refreshRateSlider, &QSlider::valueChanged, this, &GeneralTab::changeRefreshRate);
    connect(statusBarTextComboBox, &QComboBox::activated, this, &GeneralTab::onStatusBarText);
    connect(statusBarTextWithInfo, &QCheckBox::clicked, this, &GeneralTab::onStatusBarTextWithInfo);
    connect(statusBarIconComboBox, &QComboBox::activated, this, &GeneralTab::onStatusBarIcon);
    connect(showNotificationsAfterCleaning, &QCheckBox::clicked, this,
            &GeneralTab::onShowNotificationsAfterCleaning);
    connect(statusBarTextPlacementComboBox, &QComboBox::activated, this,
            [this](int index) { onPanelChoice(Setting::StatusBarTextPlacement, index); });
    connect(statusBarAppearanceComboBox, &QComboBox::activated, this,
            [this](int index) { onPanelChoice(Setting::StatusBarAppearance, index); });
}

void GeneralTab::languageDidChanged() {
    const Localizer &localized = services_.localized;
    setLocalizedTexts(localized,
                      {{generalBasic, "Basic"},
                       {generalAdditional, "Additional"},
                       {generalAdvanced, "Advanced"},
                       {generalVisuals, "Visuals"},
                       {generalNotifications, "Notifications"},
                       {startApplicationWhenComputerStarts, "startApplicationWhenComputerStarts"},
                       {showDockIcon, "showDockIcon"},
                       {statusBarTextWithInfo, "statusBarTextWithInfo"},
                       {showNotificationsAfterCleaning, "showNotificationsAfterCleaning"},
                       {language, "Language"},
                       {updateEvery, "updateEvery"},
                       {updateEveryInfo, "updateEveryInfo"},
                       {statusBarText, "statusBarText"},
                       {statusBarIcon, "statusBarIcon"},
                       {statusBarTextPlacement, "statusBarTextPlacement"},
                       {statusBarAppearance, "statusBarAppearance"}});

    QRMPreferencesManager &preferences = services_.preferences;
    fillPopUp(languageComboBox, {"Automatic", "English", "Russian", "Ukrainian"},
              preferences.selectedLanguage(), localized);
    fillPopUp(statusBarTextPlacementComboBox,
              {"TextPlacementAutomatic", "TextPlacementLabel", "TextPlacementDrawn"},
              storedOrDefault(preferences, Setting::StatusBarTextPlacement, kPanelChoices),
              localized);
    fillPopUp(statusBarAppearanceComboBox,
              {"AppearanceAutomatic", "AppearanceLight", "AppearanceDark"},
              storedOrDefault(preferences, Setting::StatusBarAppearance, kPanelChoices), localized);
    showRefreshRate();
    statusBarTextAndIconBlockRefresh();
}

void GeneralTab::showLoginItemState() {
    startApplicationWhenComputerStarts->setChecked(
        services_.loginItems.findApplicationAtLoginItems(services_.applicationPath));
}

void GeneralTab::onStartApplicationWhenComputerStarts() {
    LoginItems &items = services_.loginItems;
    if (items.findApplicationAtLoginItems(services_.applicationPath)) {
        items.removeApplicationFromLoginItems(services_.applicationPath);
    } else {
        items.addApplicationToLoginItems(services_.applicationPath);
    }
    QTimer::singleShot(kLoginItemRereadDelay, this, &GeneralTab::showLoginItemState);
}

void GeneralTab::onShowDockIcon(bool on) {
    services_.preferences.setShowDockIcon(on);
    if (services_.showDockIconChanged) {
        services_.showDockIconChanged();
    }
    // Hinted away from the taskbar, the window would be hard to find again
    // behind others; it comes back to the front.
    if (!on) {
        services_.appDelegate.shouldShowPreferencesWindow();
    }
}

void GeneralTab::changeLanguage(int index) {
    tarnwell::changeLanguage(services_.preferences, services_.languageNotifier, index);
}

void GeneralTab::showRefreshRate() {
    showSliderValue(refreshRateSlider, updateEverySec, services_.preferences.refreshRate(),
                    services_.preferences.defaultValue(Setting::RefreshRate).toLongLong(),
                    services_.localized(QStringLiteral("sec")));
}

void GeneralTab::changeRefreshRate(int seconds) {
    services_.preferences.setRefreshRate(seconds);
    updateEverySec->setText(valueWithUnit(services_.preferences.refreshRate(),
                                          services_.localized(QStringLiteral("sec"))));
    QRMAppDelegate &delegate = services_.appDelegate;
    if (!delegate.memoryCleaningInProgress()) {
        delegate.invalidateRefreshMemoryInfoTimer();
        delegate.setupRefreshMemoryInfoTimer();
    }
}

void GeneralTab::onStatusBarText(int index) {
    services_.preferences.setStatusBarTextType(index - adjustmentText_);
    statusBarTextAndIconBlockRefresh();
}

void GeneralTab::onStatusBarTextWithInfo(bool on) {
    services_.preferences.setStatusBarTextWithInfo(on);
    statusBarTextAndIconBlockRefresh();
}

void GeneralTab::onStatusBarIcon(int index) {
    services_.preferences.setStatusBarIconType(index - adjustmentIcon_);
    statusBarTextAndIconBlockRefresh();
}

void GeneralTab::onShowNotificationsAfterCleaning(bool on) {
    services_.preferences.setShowNotificationsAfterCleaning(on);
}

void GeneralTab::onPanelChoice(Setting setting, int index) {
    services_.preferences.setValue(setting, qint64(index));
    if (!services_.appDelegate.memoryCleaningInProgress()) {
        services_.appDelegate.refreshStatusMenu();
    }
}

void GeneralTab::statusBarTextAndIconBlockRefresh() {
    QRMPreferencesManager &preferences = services_.preferences;
    const Localizer &localized = services_.localized;
    qint64 textType = storedOrDefault(preferences, Setting::StatusBarTextType, kTextTypes);
    qint64 iconType = storedOrDefault(preferences, Setting::StatusBarIconType, kIconTypes);
    // Both "None" can only come from an edited file: it would leave the
    // panel empty, so the window shows what a fresh start would.
    if (textType == 0 && iconType == 0) {
        textType = preferences.defaultValue(Setting::StatusBarTextType).toLongLong();
        iconType = preferences.defaultValue(Setting::StatusBarIconType).toLongLong();
    }

    statusBarTextComboBox->clear();
    adjustmentText_ = iconType != 0 ? 0 : -1;
    if (iconType != 0) {
        statusBarTextComboBox->addItem(localized(QStringLiteral("None")));
    }
    for (const char *key : {"Percentage", "FreeSize"}) {
        statusBarTextComboBox->addItem(localized(QString::fromLatin1(key)));
    }
    statusBarTextComboBox->setCurrentIndex(int(textType + adjustmentText_));

    statusBarIconComboBox->clear();
    adjustmentIcon_ = textType != 0 ? 0 : -1;
    if (textType != 0) {
        statusBarIconComboBox->addItem(localized(QStringLiteral("None")));
    }
    statusBarTextWithInfo->setEnabled(textType != 0);
    for (const char *key :
         {"StaticIcon2DBlack", "StaticIcon3DGrayscale", "PieChartIconBlack", "PieChartIconColor"}) {
        statusBarIconComboBox->addItem(localized(QString::fromLatin1(key)));
    }
    statusBarIconComboBox->setCurrentIndex(int(iconType + adjustmentIcon_));

    if (!services_.appDelegate.memoryCleaningInProgress()) {
        services_.appDelegate.refreshStatusMenu();
    }
}

}  // namespace tarnwell
