#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace tarnwell {

// Every setting the program keeps, in the order of the table below.
enum class Setting {
    FeedURL,
    BundleBuild,
    IsWelcomeShown,
    ShowDockIcon,
    RefreshRate,
    ShowNotificationsAfterCleaning,
    AutoCleanEveryTime,
    AutoCleanByFreeSize,
    AutoCleanByInactiveSize,
    AutoCleanEveryTimeChecked,
    AutoCleanByFreeSizeChecked,
    AutoCleanByInactiveSizeChecked,
    ShowRunningApplicationsAndUtilities,
    ShowApplicationsFromApplicationsFolder,
    ShowUtilitiesFromApplicationsFolder,
    StatusBarIconType,
    StatusBarTextType,
    StatusBarTextWithInfo,
    LastTimeCleaned,
    MaxCleaned,
    TotallyCleaned,
    TotallyCleanedDigit,
    ApplicationsAndUtilitiesToMonitoring,
    SelectedLanguage,
    AppleLanguages,
    CollectUsageEvents,
    StatusBarTextPlacement,
    StatusBarAppearance,
    // The updater's own settings, under the names the update framework used.
    AutomaticallyChecksForUpdates,
    UpdateCheckInterval,
    AutomaticallyDownloadsUpdates,
    LastUpdateCheckTime,
    SkippedVersion,
};

// How a value is kept. The settings file is text, so "refreshRate" (a number
// object elsewhere) and the plain integers are all Integer here; what matters
// is that every reader parses a key with the same type.
enum class SettingType {
    Boolean,
    Integer,          // signed 64-bit
    UnsignedInteger,  // unsigned 64-bit byte counters
    String,
    URL,         // kept as its text
    StringList,  // language codes
    RecordList,  // monitored-application records, a list of maps
};

enum class DefaultRule {
    WriteBack,   // a getter that finds nothing stores the default and returns it
    NotWritten,  // a getter that finds nothing returns the default and stores nothing
};

enum class DefaultValue {
    Fixed,              // SettingDefinition::fixedDefault (0/1 for booleans)
    Nothing,            // no value: an empty string, URL or list
    FreeThreshold,      // 1 % of the installed memory, in MB
    InactiveThreshold,  // 5 times the free threshold
    StableFeed,         // the stable update feed of QRMConstants
};

struct SettingDefinition {
    Setting id;
    std::string_view key;  // exactly as stored
    SettingType type;
    DefaultRule rule;
    DefaultValue defaultValue;
    int64_t fixedDefault;
};

// clang-format off
inline constexpr std::array kSettingsTable{
    SettingDefinition{Setting::FeedURL, "FeedURL", SettingType::URL, DefaultRule::WriteBack, DefaultValue::StableFeed, 0},
    SettingDefinition{Setting::BundleBuild, "bundleBuild", SettingType::String, DefaultRule::NotWritten, DefaultValue::Nothing, 0},
    SettingDefinition{Setting::IsWelcomeShown, "isWelcomeShown", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::ShowDockIcon, "showDockIcon", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::RefreshRate, "refreshRate", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::Fixed, 5},
    SettingDefinition{Setting::ShowNotificationsAfterCleaning, "udShowNotificationsAfterCleaning", SettingType::Boolean, DefaultRule::WriteBack, DefaultValue::Fixed, 1},
    SettingDefinition{Setting::AutoCleanEveryTime, "autoCleanEveryTime", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::Fixed, 10},
    SettingDefinition{Setting::AutoCleanByFreeSize, "autoCleanByFreeSize", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::FreeThreshold, 0},
    SettingDefinition{Setting::AutoCleanByInactiveSize, "autoCleanByInactiveSize", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::InactiveThreshold, 0},
    SettingDefinition{Setting::AutoCleanEveryTimeChecked, "autoCleanEveryTimeChecked", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::AutoCleanByFreeSizeChecked, "autoCleanByFreeSizeChecked", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::AutoCleanByInactiveSizeChecked, "autoCleanByInactiveSizeChecked", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::ShowRunningApplicationsAndUtilities, "showRunningApplicationsAndUtilities", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::ShowApplicationsFromApplicationsFolder, "showApplicationsFromApplicationsFolder", SettingType::Boolean, DefaultRule::WriteBack, DefaultValue::Fixed, 1},
    SettingDefinition{Setting::ShowUtilitiesFromApplicationsFolder, "showUtilitiesFromApplicationsFolder", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::StatusBarIconType, "statusBarIcon", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::Fixed, 3},
    SettingDefinition{Setting::StatusBarTextType, "statusBarText", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::Fixed, 2},
    SettingDefinition{Setting::StatusBarTextWithInfo, "statusBarTextWithInfo", SettingType::Boolean, DefaultRule::WriteBack, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::LastTimeCleaned, "lastTimeCleaned", SettingType::UnsignedInteger, DefaultRule::WriteBack, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::MaxCleaned, "maxCleaned", SettingType::UnsignedInteger, DefaultRule::WriteBack, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::TotallyCleaned, "totallyCleaned", SettingType::UnsignedInteger, DefaultRule::WriteBack, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::TotallyCleanedDigit, "totallyCleanedDigit", SettingType::Integer, DefaultRule::WriteBack, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::ApplicationsAndUtilitiesToMonitoring, "applicationsAndUtilitiesToMonitoring", SettingType::RecordList, DefaultRule::NotWritten, DefaultValue::Nothing, 0},
    SettingDefinition{Setting::SelectedLanguage, "selectedLanguage", SettingType::Integer, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::AppleLanguages, "AppleLanguages", SettingType::StringList, DefaultRule::NotWritten, DefaultValue::Nothing, 0},
    SettingDefinition{Setting::CollectUsageEvents, "collectUsageEvents", SettingType::Boolean, DefaultRule::WriteBack, DefaultValue::Fixed, 1},
    SettingDefinition{Setting::StatusBarTextPlacement, "statusBarTextPlacement", SettingType::Integer, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::StatusBarAppearance, "statusBarAppearance", SettingType::Integer, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::AutomaticallyChecksForUpdates, "SUEnableAutomaticChecks", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::UpdateCheckInterval, "SUScheduledCheckInterval", SettingType::Integer, DefaultRule::NotWritten, DefaultValue::Fixed, 86400},
    SettingDefinition{Setting::AutomaticallyDownloadsUpdates, "SUAutomaticallyUpdate", SettingType::Boolean, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::LastUpdateCheckTime, "SULastCheckTime", SettingType::Integer, DefaultRule::NotWritten, DefaultValue::Fixed, 0},
    SettingDefinition{Setting::SkippedVersion, "SUSkippedVersion", SettingType::String, DefaultRule::NotWritten, DefaultValue::Nothing, 0},
};
// clang-format on

consteval bool tableFollowsEnumOrder() {
    for (size_t i = 0; i < kSettingsTable.size(); ++i) {
        if (size_t(kSettingsTable[i].id) != i) {
            return false;
        }
    }
    return true;
}
static_assert(tableFollowsEnumOrder(), "kSettingsTable rows must follow the order of Setting");

constexpr const SettingDefinition &settingDefinition(Setting setting) {
    return kSettingsTable[size_t(setting)];
}

// The row stored under key, or nullptr.
constexpr const SettingDefinition *findSetting(std::string_view key) {
    for (const SettingDefinition &definition : kSettingsTable) {
        if (definition.key == key) {
            return &definition;
        }
    }
    return nullptr;
}

}  // namespace tarnwell
