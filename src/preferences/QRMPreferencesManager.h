#pragma once

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "preferences/QRMSettingsTable.h"
#include "preferences/SettingsFileCheck.h"

namespace tarnwell {

class Updater;

// Installed memory in bytes, or nothing while the memory engine has no record.
using PhysicalMemoryProvider = std::function<std::optional<uint64_t>()>;

// The one place where settings and the small persistent counters live. Every
// getter reads the settings file and every setter writes it through at once,
// so a killed process loses nothing. Getters follow their row of
// kSettingsTable: a missing or unreadable value yields the default, which
// write-back rows also store. A settings file that must not be touched
// (SettingsFileCheck) is left alone: the store says so once and keeps the
// values in memory, starting from the defaults. Safe to call from any thread.
class QRMPreferencesManager {
public:
    // The process-wide store over the user's settings file ("Tarnwell/Tarnwell").
    static QRMPreferencesManager &sharedPreferencesManager();

    // fileName: the settings file (INI); physicalMemory: source of the
    // threshold defaults; stableFeedURL: default of the feed in use, which is
    // not written back when it comes from a run-time override.
    QRMPreferencesManager(QString fileName, PhysicalMemoryProvider physicalMemory,
                          QUrl stableFeedURL, bool stableFeedFromOverride = false);
    ~QRMPreferencesManager();
    QRMPreferencesManager(const QRMPreferencesManager &) = delete;
    QRMPreferencesManager &operator=(const QRMPreferencesManager &) = delete;

    // The updater that follows feed changes; nullptr (the default) detaches it.
    void setUpdater(Updater *updater);

    // Generic access by table row, in the canonical types of
    // typedSettingValue. value() applies the default rule; setValue() refuses
    // (returns false) a value that is not of the row's type.
    QVariant value(Setting setting);
    bool setValue(Setting setting, const QVariant &value);
    // True when the file holds a readable value under the row's key.
    bool hasStoredValue(Setting setting);
    QVariant defaultValue(Setting setting) const;
    // Installed memory in bytes, from the source the threshold defaults use.
    std::optional<uint64_t> installedMemory() const { return physicalMemory_(); }

    QUrl updatesFeedURL() { return value(Setting::FeedURL).toUrl(); }
    // Also hands the URL to the updater and asks it for a silent check, even
    // when the URL is already the stored one.
    void setUpdatesFeedURL(const QUrl &url) { setValue(Setting::FeedURL, url); }
    QString bundleBuild() { return value(Setting::BundleBuild).toString(); }
    void setBundleBuild(const QString &build) { setValue(Setting::BundleBuild, build); }
    // True exactly when no build number is stored.
    bool isFirstRun() { return !hasStoredValue(Setting::BundleBuild); }
    bool isWelcomeShown() { return value(Setting::IsWelcomeShown).toBool(); }
    void setIsWelcomeShown(bool shown) { setValue(Setting::IsWelcomeShown, shown); }
    bool showDockIcon() { return value(Setting::ShowDockIcon).toBool(); }
    void setShowDockIcon(bool show) { setValue(Setting::ShowDockIcon, show); }
    // Seconds.
    qint64 refreshRate() { return value(Setting::RefreshRate).toLongLong(); }
    void setRefreshRate(qint64 seconds) { setValue(Setting::RefreshRate, seconds); }
    bool showNotificationsAfterCleaning() {
        return value(Setting::ShowNotificationsAfterCleaning).toBool();
    }
    void setShowNotificationsAfterCleaning(bool show) {
        setValue(Setting::ShowNotificationsAfterCleaning, show);
    }
    // Minutes.
    qint64 autoCleanEveryTime() { return value(Setting::AutoCleanEveryTime).toLongLong(); }
    void setAutoCleanEveryTime(qint64 minutes) { setValue(Setting::AutoCleanEveryTime, minutes); }
    // MB (2^20 bytes).
    qint64 autoCleanByFreeSize() { return value(Setting::AutoCleanByFreeSize).toLongLong(); }
    void setAutoCleanByFreeSize(qint64 mb) { setValue(Setting::AutoCleanByFreeSize, mb); }
    qint64 autoCleanByInactiveSize() {
        return value(Setting::AutoCleanByInactiveSize).toLongLong();
    }
    void setAutoCleanByInactiveSize(qint64 mb) { setValue(Setting::AutoCleanByInactiveSize, mb); }
    bool autoCleanEveryTimeChecked() { return value(Setting::AutoCleanEveryTimeChecked).toBool(); }
    void setAutoCleanEveryTimeChecked(bool on) { setValue(Setting::AutoCleanEveryTimeChecked, on); }
    bool autoCleanByFreeSizeChecked() {
        return value(Setting::AutoCleanByFreeSizeChecked).toBool();
    }
    void setAutoCleanByFreeSizeChecked(bool on) {
        setValue(Setting::AutoCleanByFreeSizeChecked, on);
    }
    bool autoCleanByInactiveSizeChecked() {
        return value(Setting::AutoCleanByInactiveSizeChecked).toBool();
    }
    void setAutoCleanByInactiveSizeChecked(bool on) {
        setValue(Setting::AutoCleanByInactiveSizeChecked, on);
    }
    bool showRunningApplicationsAndUtilities() {
        return value(Setting::ShowRunningApplicationsAndUtilities).toBool();
    }
    void setShowRunningApplicationsAndUtilities(bool show) {
        setValue(Setting::ShowRunningApplicationsAndUtilities, show);
    }
    bool showApplicationsFromApplicationsFolder() {
        return value(Setting::ShowApplicationsFromApplicationsFolder).toBool();
    }
    void setShowApplicationsFromApplicationsFolder(bool show) {
        setValue(Setting::ShowApplicationsFromApplicationsFolder, show);
    }
    bool showUtilitiesFromApplicationsFolder() {
        return value(Setting::ShowUtilitiesFromApplicationsFolder).toBool();
    }
    void setShowUtilitiesFromApplicationsFolder(bool show) {
        setValue(Setting::ShowUtilitiesFromApplicationsFolder, show);
    }
    // 0 none, 1 static 2D black, 2 static 3D greyscale, 3 pie chart black, 4 pie chart colour.
    qint64 statusBarIconType() { return value(Setting::StatusBarIconType).toLongLong(); }
    void setStatusBarIconType(qint64 type) { setValue(Setting::StatusBarIconType, type); }
    // 0 none, 1 percentage, 2 free size.
    qint64 statusBarTextType() { return value(Setting::StatusBarTextType).toLongLong(); }
    void setStatusBarTextType(qint64 type) { setValue(Setting::StatusBarTextType, type); }
    bool statusBarTextWithInfo() { return value(Setting::StatusBarTextWithInfo).toBool(); }
    void setStatusBarTextWithInfo(bool on) { setValue(Setting::StatusBarTextWithInfo, on); }
    // Where the title goes on the panel: 0 as the host allows (a label where it
    // shows one, drawn into the icon elsewhere), 1 always the label, 2 always
    // drawn into the icon.
    qint64 statusBarTextPlacement() { return value(Setting::StatusBarTextPlacement).toLongLong(); }
    void setStatusBarTextPlacement(qint64 placement) {
        setValue(Setting::StatusBarTextPlacement, placement);
    }
    // The panel's colour for template icons and drawn text: 0 as the desktop
    // says, 1 light, 2 dark.
    qint64 statusBarAppearance() { return value(Setting::StatusBarAppearance).toLongLong(); }
    void setStatusBarAppearance(qint64 appearance) {
        setValue(Setting::StatusBarAppearance, appearance);
    }
    // Bytes.
    quint64 lastTimeCleaned() { return value(Setting::LastTimeCleaned).toULongLong(); }
    void setLastTimeCleaned(quint64 bytes) { setValue(Setting::LastTimeCleaned, bytes); }
    quint64 maxCleaned() { return value(Setting::MaxCleaned).toULongLong(); }
    void setMaxCleaned(quint64 bytes) { setValue(Setting::MaxCleaned, bytes); }
    // The total in bytes is totallyCleaned × 1024^totallyCleanedDigit.
    quint64 totallyCleaned() { return value(Setting::TotallyCleaned).toULongLong(); }
    void setTotallyCleaned(quint64 count) { setValue(Setting::TotallyCleaned, count); }
    qint64 totallyCleanedDigit() { return value(Setting::TotallyCleanedDigit).toLongLong(); }
    void setTotallyCleanedDigit(qint64 digit) { setValue(Setting::TotallyCleanedDigit, digit); }
    // Monitored-application records (keys in QRMSettingValue.h); nothing when
    // none were ever stored, which callers treat as an empty list.
    std::optional<QList<QVariantMap>> applicationsAndUtilitiesToMonitoring();
    void setApplicationsAndUtilitiesToMonitoring(const QList<QVariantMap> &records);
    // 0 automatic, 1 English, 2 Russian, 3 Ukrainian.
    qint64 selectedLanguage() { return value(Setting::SelectedLanguage).toLongLong(); }
    void setSelectedLanguage(qint64 index) { setValue(Setting::SelectedLanguage, index); }
    // The interface-language override; nothing means follow the desktop.
    std::optional<QStringList> appleLanguages();
    // Nothing removes the key.
    void setAppleLanguages(const std::optional<QStringList> &languages);
    // Whether usage events are recorded at all.
    bool collectUsageEvents() { return value(Setting::CollectUsageEvents).toBool(); }
    void setCollectUsageEvents(bool on) { setValue(Setting::CollectUsageEvents, on); }

    // Generic keys of other parts. dataForKey answers a null array when the key
    // holds no byte data.
    void setData(const QVariant &value, const QString &key);
    QByteArray dataForKey(const QString &key);
    void removeObjectForKey(const QString &key);

    // Every key the file holds, for a full reset.
    QStringList allKeys();
    // Where the settings live, for messages.
    QString fileName() const;
    // True once a change could not be saved (it is then kept in memory only).
    bool writeFailed();

private:
    std::optional<QVariant> storedValueLocked(const SettingDefinition &definition);
    std::optional<QVariant> rawValueLocked(const QString &key);
    void writeLocked(const QString &key, const QVariant &value);
    void removeLocked(const QString &key);
    void syncLocked();
    // False, from then on, once the file must not be touched.
    bool fileUsableLocked();

    std::mutex mutex_;
    QString fileName_;
    SettingsFileCheck fileCheck_;
    std::unique_ptr<QSettings> settings_;  // nothing once the file is refused
    QVariantMap memory_;                   // the values while the file is refused
    PhysicalMemoryProvider physicalMemory_;
    QUrl stableFeedURL_;
    bool stableFeedFromOverride_;
    Updater *updater_ = nullptr;
    bool writeFailureReported_ = false;
};

}  // namespace tarnwell
