#include "preferences/QRMPreferencesManager.h"

#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>

#include "memory/QRMMemoryInfo.h"
#include "memory/QRMRecordKeys.h"
#include "preferences/QRMConstants.h"
#include "preferences/QRMSettingRange.h"
#include "preferences/QRMSettingValue.h"
#include "preferences/SettingsFileCheck.h"
#include "preferences/Updater.h"

namespace tarnwell {

Q_LOGGING_CATEGORY(lcPreferences, "tarnwell.preferences")

namespace {

// 1 % of the installed memory in MB: bytes / (100 × 2^20), rounded down.
constexpr uint64_t kBytesPerFreeThresholdMB = 104'857'600;

QString keyOf(const SettingDefinition &definition) {
    return QString::fromLatin1(definition.key.data(), qsizetype(definition.key.size()));
}

void warnRefused(const QString &fileName, const QString &refusal) {
    qCWarning(lcPreferences).noquote()
        << "not using the settings file" << fileName << "-" << refusal
        << "- settings start from their defaults and changes are kept only until Tarnwell quits";
}

std::optional<uint64_t> physicalMemoryFromStatistics() {
    const QRMStatisticsRecord record = QRMMemoryInfo::sharedMemoryInfo().info();
    const auto found = record.find(keys::physicalMemory);
    if (found == record.end()) {
        return std::nullopt;
    }
    return found->second.toUInt64();
}

// The value a reader gets: within its row's interval bounds, if it has any.
QVariant withinBounds(Setting setting, QVariant value) {
    const std::optional<IntervalBounds> bounds = intervalBounds(setting);
    if (!bounds || !value.isValid()) {
        return value;
    }
    return qint64(std::clamp<qint64>(value.toLongLong(), bounds->minimum, bounds->maximum));
}

}  // namespace

QRMPreferencesManager &QRMPreferencesManager::sharedPreferencesManager() {
    static QRMPreferencesManager manager(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/Tarnwell/Tarnwell.conf"),
        physicalMemoryFromStatistics, QRMConstants::sharedConstants().updatesURL(),
        QRMConstants::siteURLOverridden());
    return manager;
}

QRMPreferencesManager::QRMPreferencesManager(QString fileName,
                                             PhysicalMemoryProvider physicalMemory,
                                             QUrl stableFeedURL, bool stableFeedFromOverride)
    : fileName_(std::move(fileName)),
      fileCheck_(fileName_),
      physicalMemory_(std::move(physicalMemory)),
      stableFeedURL_(std::move(stableFeedURL)),
      stableFeedFromOverride_(stableFeedFromOverride) {
    // QSettings reads the file as it is made, so the file is checked first.
    if (const std::optional<QString> refusal = fileCheck_.refusal()) {
        warnRefused(fileName_, *refusal);
    } else {
        settings_ = std::make_unique<QSettings>(fileName_, QSettings::IniFormat);
    }
}

QRMPreferencesManager::~QRMPreferencesManager() = default;

void QRMPreferencesManager::setUpdater(Updater *updater) {
    std::lock_guard lock(mutex_);
    updater_ = updater;
}

QVariant QRMPreferencesManager::defaultValue(Setting setting) const {
    const SettingDefinition &definition = settingDefinition(setting);
    switch (definition.defaultValue) {
        case DefaultValue::Fixed:
            if (definition.type == SettingType::Boolean) {
                return definition.fixedDefault != 0;
            }
            if (definition.type == SettingType::UnsignedInteger) {
                return quint64(definition.fixedDefault);
            }
            return qint64(definition.fixedDefault);
        case DefaultValue::Nothing:
            return {};
        case DefaultValue::FreeThreshold:
        case DefaultValue::InactiveThreshold: {
            const std::optional<uint64_t> installed = physicalMemory_();
            const uint64_t freeMB = installed ? *installed / kBytesPerFreeThresholdMB : 0;
            // Five times the rounded-down free threshold, not 5 % rounded down:
            // 8 GiB gives 405, not 409, and stored thresholds depend on it.
            const uint64_t mb =
                definition.defaultValue == DefaultValue::FreeThreshold ? freeMB : freeMB * 5;
            return qint64(mb);
        }
        case DefaultValue::StableFeed:
            return stableFeedURL_;
    }
    return {};
}

std::optional<QVariant> QRMPreferencesManager::storedValueLocked(
    const SettingDefinition &definition) {
    const std::optional<QVariant> raw = rawValueLocked(keyOf(definition));
    if (!raw) {
        return std::nullopt;
    }
    return typedSettingValue(definition.type, *raw);
}

std::optional<QVariant> QRMPreferencesManager::rawValueLocked(const QString &key) {
    if (!fileUsableLocked()) {
        const auto found = memory_.constFind(key);
        return found != memory_.constEnd() ? std::optional(*found) : std::nullopt;
    }
    // Picks up what another process (tarnwell settings, an editor) wrote since;
    // costs one stat() when the file is unchanged.
    settings_->sync();
    if (!settings_->contains(key)) {
        return std::nullopt;
    }
    return settings_->value(key);
}

QVariant QRMPreferencesManager::value(Setting setting) {
    const SettingDefinition &definition = settingDefinition(setting);
    std::lock_guard lock(mutex_);
    if (std::optional<QVariant> stored = storedValueLocked(definition)) {
        return withinBounds(setting, *stored);
    }
    QVariant fallback = defaultValue(setting);
    // An override's feed holds for this run only; stored, it would outlive it.
    const bool fromOverride =
        definition.defaultValue == DefaultValue::StableFeed && stableFeedFromOverride_;
    if (definition.rule == DefaultRule::WriteBack && !fromOverride) {
        writeLocked(keyOf(definition), storableSettingValue(definition.type, fallback));
    }
    return fallback;
}

bool QRMPreferencesManager::hasStoredValue(Setting setting) {
    std::lock_guard lock(mutex_);
    return storedValueLocked(settingDefinition(setting)).has_value();
}

bool QRMPreferencesManager::setValue(Setting setting, const QVariant &value) {
    const SettingDefinition &definition = settingDefinition(setting);
    const std::optional<QVariant> typed = typedSettingValue(definition.type, value);
    if (!typed) {
        return false;
    }
    Updater *updater = nullptr;
    {
        std::lock_guard lock(mutex_);
        writeLocked(keyOf(definition), storableSettingValue(definition.type, *typed));
        updater = updater_;
    }
    if (setting == Setting::FeedURL && updater) {
        updater->setFeedURL(typed->toUrl());
        updater->checkForUpdateInformation();
    }
    return true;
}

std::optional<QList<QVariantMap>> QRMPreferencesManager::applicationsAndUtilitiesToMonitoring() {
    const QVariant records = value(Setting::ApplicationsAndUtilitiesToMonitoring);
    if (!records.isValid()) {
        return std::nullopt;
    }
    QList<QVariantMap> list;
    for (const QVariant &record : records.toList()) {
        list.append(record.toMap());
    }
    return list;
}

void QRMPreferencesManager::setApplicationsAndUtilitiesToMonitoring(
    const QList<QVariantMap> &records) {
    QVariantList list;
    for (const QVariantMap &record : records) {
        list.append(record);
    }
    setValue(Setting::ApplicationsAndUtilitiesToMonitoring, list);
}

std::optional<QStringList> QRMPreferencesManager::appleLanguages() {
    const QVariant languages = value(Setting::AppleLanguages);
    if (!languages.isValid()) {
        return std::nullopt;
    }
    return languages.toStringList();
}

void QRMPreferencesManager::setAppleLanguages(const std::optional<QStringList> &languages) {
    if (languages) {
        setValue(Setting::AppleLanguages, *languages);
    } else {
        removeObjectForKey(keyOf(settingDefinition(Setting::AppleLanguages)));
    }
}

void QRMPreferencesManager::setData(const QVariant &value, const QString &key) {
    std::lock_guard lock(mutex_);
    writeLocked(key, value);
}

QByteArray QRMPreferencesManager::dataForKey(const QString &key) {
    std::lock_guard lock(mutex_);
    const QVariant stored = rawValueLocked(key).value_or(QVariant());
    return stored.typeId() == QMetaType::QByteArray ? stored.toByteArray() : QByteArray();
}

void QRMPreferencesManager::removeObjectForKey(const QString &key) {
    std::lock_guard lock(mutex_);
    removeLocked(key);
}

QStringList QRMPreferencesManager::allKeys() {
    std::lock_guard lock(mutex_);
    return fileUsableLocked() ? settings_->allKeys() : memory_.keys();
}

QString QRMPreferencesManager::fileName() const {
    return fileName_;
}

bool QRMPreferencesManager::writeFailed() {
    std::lock_guard lock(mutex_);
    return writeFailureReported_;
}

void QRMPreferencesManager::writeLocked(const QString &key, const QVariant &value) {
    if (!fileUsableLocked()) {
        memory_.insert(key, value);
        writeFailureReported_ = true;
        return;
    }
    settings_->setValue(key, value);
    syncLocked();
}

void QRMPreferencesManager::removeLocked(const QString &key) {
    if (!fileUsableLocked()) {
        memory_.remove(key);
        writeFailureReported_ = true;
        return;
    }
    settings_->remove(key);
    syncLocked();
}

// Checked before every use, as the file may be swapped while the program runs.
// The values read so far carry on in memory; the QSettings object goes without
// writing, as every change was synced at once.
bool QRMPreferencesManager::fileUsableLocked() {
    if (!settings_) {
        return false;
    }
    const std::optional<QString> refusal = fileCheck_.refusal();
    if (!refusal) {
        return true;
    }
    for (const QString &key : settings_->allKeys()) {
        memory_.insert(key, settings_->value(key));
    }
    settings_.reset();
    warnRefused(fileName_, *refusal);
    return false;
}

void QRMPreferencesManager::syncLocked() {
    settings_->sync();
    // QSettings keeps unsaved changes in memory, so the program carries on with
    // them; say so once rather than on every tick that writes a counter.
    if (settings_->status() == QSettings::AccessError && !writeFailureReported_) {
        writeFailureReported_ = true;
        qCWarning(lcPreferences).noquote()
            << "cannot write the settings file" << settings_->fileName()
            << "- changes are kept only until Tarnwell quits";
    }
}

}  // namespace tarnwell
