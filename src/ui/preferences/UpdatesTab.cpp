#include "ui/preferences/UpdatesTab.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>
#include <array>

#include "BuildInfo.h"
#include "app/UpdateChecks.h"
#include "preferences/QRMConstants.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

namespace {

struct IntervalItem {
    const char *key;
    qint64 seconds;
};
constexpr std::array<IntervalItem, 4> kIntervalItems{{{"Hourly", updateInterval::kHourly},
                                                      {"Daily", updateInterval::kDaily},
                                                      {"Weekly", updateInterval::kWeekly},
                                                      {"Monthly", updateInterval::kMonthly}}};
// In the pop-up's order: 0 stable, 1 beta, 2 alpha.
constexpr std::array kFeedKeys{"UpdatesFeedStable", "UpdatesFeedBeta", "UpdatesFeedAlpha"};

std::array<QUrl, 3> feedURLs() {
    const QRMConstants &constants = QRMConstants::sharedConstants();
    return {constants.updatesURL(), constants.updatesBetaURL(), constants.updatesAlphaURL()};
}

}  // namespace

UpdatesTab::UpdatesTab(PreferencesServices &services, QWidget *parent)
    : QWidget(parent),
      applicationUpdates(new QGroupBox),
      updatesFeedNSPopUpButton(new QComboBox),
      automaticUpdateCheckBox(new QCheckBox),
      updateCheckInterval(new QComboBox),
      automaticDowloadUpdateCheckBox(new QCheckBox),
      versionAndBuildNumber(new QGroupBox),
      versionAndBuildNumberInfo(new QLabel),
      services_(services) {
    for (int i = 0; i < int(kFeedKeys.size()); ++i) {
        updatesFeedNSPopUpButton->addItem(QString());
    }
    for (const IntervalItem &item : kIntervalItems) {
        updateCheckInterval->addItem(QString(), item.seconds);
    }
    auto *checks = new QHBoxLayout;
    checks->addWidget(automaticUpdateCheckBox);
    checks->addWidget(updateCheckInterval);
    checks->addStretch();
    auto *updates = new QVBoxLayout(applicationUpdates);
    updates->addWidget(updatesFeedNSPopUpButton);
    updates->addLayout(checks);
    updates->addWidget(automaticDowloadUpdateCheckBox);
    versionAndBuildNumberInfo->setTextInteractionFlags(Qt::TextSelectableByMouse);
    (new QVBoxLayout(versionAndBuildNumber))->addWidget(versionAndBuildNumberInfo);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(applicationUpdates);
    layout->addWidget(versionAndBuildNumber);
    layout->addStretch();

    selectCurrentFeed();
    refreshUpdaterControls();
    // Activated, not changed: only the user's choice switches the feed.
    connect(updatesFeedNSPopUpButton, &QComboBox::activated, this, &UpdatesTab::changeUpdatesFeed);
    UpdateChecks *updater = services_.updater;
    if (!updater) {
        return;
    }
    connect(automaticUpdateCheckBox, &QCheckBox::toggled, this, [this, updater](bool on) {
        updater->setAutomaticallyChecksForUpdates(on);
        refreshUpdaterControls();
    });
    connect(updateCheckInterval, &QComboBox::activated, this, [this, updater](int index) {
        updater->setUpdateCheckInterval(updateCheckInterval->itemData(index).toLongLong());
    });
    connect(automaticDowloadUpdateCheckBox, &QCheckBox::toggled, this,
            [updater](bool on) { updater->setAutomaticallyDownloadsUpdates(on); });
}

void UpdatesTab::languageDidChanged() {
    const Localizer &localized = services_.localized;
    applicationUpdates->setTitle(localized(QStringLiteral("ApplicationUpdates")));
    versionAndBuildNumber->setTitle(localized(QStringLiteral("VersionAndBuildNumbers")));
    automaticUpdateCheckBox->setText(localized(QStringLiteral("AutomaticUpdateCheckBox")));
    automaticDowloadUpdateCheckBox->setText(
        localized(QStringLiteral("AutomaticDowloadUpdateCheckBox")));
    for (int i = 0; i < int(kFeedKeys.size()); ++i) {
        updatesFeedNSPopUpButton->setItemText(i, localized(QString::fromLatin1(kFeedKeys[i])));
    }
    for (int i = 0; i < int(kIntervalItems.size()); ++i) {
        updateCheckInterval->setItemText(i, localized(QString::fromLatin1(kIntervalItems[i].key)));
    }
    versionAndBuildNumberInfo->setText(
        QStringLiteral("%1 %2 %3 %4")
            .arg(localized(QStringLiteral("Version")), QString::fromLatin1(kMarketingVersion),
                 localized(QStringLiteral("Build")), QString::fromLatin1(kBuildNumber)));
}

int UpdatesTab::currentFeedIndex() {
    const QString inUse = services_.preferences.updatesFeedURL().toString();
    const std::array<QUrl, 3> feeds = feedURLs();
    for (int i = 0; i < int(feeds.size()); ++i) {
        if (feeds[size_t(i)].toString() == inUse) {
            return i;
        }
    }
    return -1;
}

void UpdatesTab::selectCurrentFeed() {
    updatesFeedNSPopUpButton->setCurrentIndex(std::max(currentFeedIndex(), 0));
}

void UpdatesTab::changeUpdatesFeed(int selectedIndex) {
    if (selectedIndex == currentFeedIndex()) {
        return;
    }
    const std::array<QUrl, 3> feeds = feedURLs();
    if (selectedIndex >= 0 && selectedIndex < int(feeds.size())) {
        services_.preferences.setUpdatesFeedURL(feeds[size_t(selectedIndex)]);
    }
}

void UpdatesTab::refreshUpdaterControls() {
    UpdateChecks *updater = services_.updater;
    const bool checks = updater && updater->automaticallyChecksForUpdates();
    const QSignalBlocker blockChecks(automaticUpdateCheckBox);
    const QSignalBlocker blockDownloads(automaticDowloadUpdateCheckBox);
    automaticUpdateCheckBox->setEnabled(updater != nullptr);
    automaticUpdateCheckBox->setChecked(checks);
    // The interval and downloads only mean something while checks run.
    updateCheckInterval->setEnabled(checks);
    automaticDowloadUpdateCheckBox->setEnabled(checks);
    automaticDowloadUpdateCheckBox->setChecked(updater && updater->automaticallyDownloadsUpdates());
    updateCheckInterval->setCurrentIndex(
        updater ? updateCheckInterval->findData(updater->updateCheckInterval()) : -1);
}

}  // namespace tarnwell
