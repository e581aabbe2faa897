#include "app/PreferencesAppSettings.h"

#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

int64_t PreferencesAppSettings::statusBarTextType() {
    return preferences_.statusBarTextType();
}

bool PreferencesAppSettings::statusBarTextWithInfo() {
    return preferences_.statusBarTextWithInfo();
}

int64_t PreferencesAppSettings::statusBarIconType() {
    return preferences_.statusBarIconType();
}

double PreferencesAppSettings::refreshRate() {
    return preferences_.refreshRate();
}

double PreferencesAppSettings::autoCleanEveryTime() {
    return preferences_.autoCleanEveryTime();
}

bool PreferencesAppSettings::autoCleanEveryTimeChecked() {
    return preferences_.autoCleanEveryTimeChecked();
}

bool PreferencesAppSettings::autoCleanByFreeSizeChecked() {
    return preferences_.autoCleanByFreeSizeChecked();
}

int64_t PreferencesAppSettings::autoCleanByFreeSize() {
    return preferences_.autoCleanByFreeSize();
}

bool PreferencesAppSettings::autoCleanByInactiveSizeChecked() {
    return preferences_.autoCleanByInactiveSizeChecked();
}

int64_t PreferencesAppSettings::autoCleanByInactiveSize() {
    return preferences_.autoCleanByInactiveSize();
}

bool PreferencesAppSettings::showNotificationsAfterCleaning() {
    return preferences_.showNotificationsAfterCleaning();
}

uint64_t PreferencesAppSettings::lastTimeCleaned() {
    return preferences_.lastTimeCleaned();
}

void PreferencesAppSettings::setLastTimeCleaned(uint64_t bytes) {
    preferences_.setLastTimeCleaned(bytes);
}

uint64_t PreferencesAppSettings::maxCleaned() {
    return preferences_.maxCleaned();
}

void PreferencesAppSettings::setMaxCleaned(uint64_t bytes) {
    preferences_.setMaxCleaned(bytes);
}

RunningTotal PreferencesAppSettings::totallyCleaned() {
    return {preferences_.totallyCleaned(), preferences_.totallyCleanedDigit()};
}

void PreferencesAppSettings::setTotallyCleaned(RunningTotal total) {
    // The digit rises once in a great while; only the count changes with
    // every cleaning.
    if (total.digit != preferences_.totallyCleanedDigit()) {
        preferences_.setTotallyCleanedDigit(total.digit);
    }
    preferences_.setTotallyCleaned(total.count);
}

bool PreferencesAppSettings::isFirstRun() {
    return preferences_.isFirstRun();
}

bool PreferencesAppSettings::isWelcomeShown() {
    return preferences_.isWelcomeShown();
}

QList<QVariantMap> PreferencesAppSettings::applicationsAndUtilitiesToMonitoring() {
    return preferences_.applicationsAndUtilitiesToMonitoring().value_or(QList<QVariantMap>());
}

void PreferencesAppSettings::setIsWelcomeShown(bool shown) {
    preferences_.setIsWelcomeShown(shown);
}

QString PreferencesAppSettings::bundleBuild() {
    return preferences_.bundleBuild();
}

void PreferencesAppSettings::setBundleBuild(const QString &build) {
    preferences_.setBundleBuild(build);
}

}  // namespace tarnwell
