#include "cli/SettingsCommand.h"

#include <cstdio>
#include <string>

#include "preferences/QRMPreferencesManager.h"
#include "preferences/QRMSettingRange.h"
#include "preferences/QRMSettingValue.h"
#include "preferences/QRMSettingsTable.h"

namespace tarnwell::cli {

namespace {

void printLine(const QString &text) {
    std::fputs(text.toLocal8Bit().constData(), stdout);
    std::fputc('\n', stdout);
}

QString keyOf(const SettingDefinition &definition) {
    return QString::fromLatin1(definition.key.data(), qsizetype(definition.key.size()));
}

QString valueText(QRMPreferencesManager &preferences, const SettingDefinition &definition) {
    const QVariant value = preferences.value(definition.id);
    if (!value.isValid()) {
        return QStringLiteral("(none)");
    }
    return settingValueToText(definition.type, value);
}

int listSettings(QRMPreferencesManager &preferences) {
    for (const SettingDefinition &definition : kSettingsTable) {
        // Reading applies the default rule, so the listing leaves the file as
        // the program itself would after reading every setting.
        QString text = valueText(preferences, definition);
        if (!preferences.hasStoredValue(definition.id) &&
            preferences.value(definition.id).isValid()) {
            text += QStringLiteral(" (default, not stored)");
        }
        printLine(QStringLiteral("%1 %2").arg(keyOf(definition), -38).arg(text));
    }
    return kExitOk;
}

// Names only, one a line, reading nothing: shell completion calls it.
int listKeys() {
    for (const SettingDefinition &definition : kSettingsTable) {
        printLine(keyOf(definition));
    }
    return kExitOk;
}

int resetSettings(QRMPreferencesManager &preferences) {
    const QStringList keys = preferences.allKeys();
    if (keys.isEmpty()) {
        printLine(QStringLiteral("No settings stored in %1.").arg(preferences.fileName()));
        return kExitOk;
    }
    printLine(QStringLiteral("Removing %1 stored setting(s) from %2:")
                  .arg(keys.size())
                  .arg(preferences.fileName()));
    for (const QString &key : keys) {
        printLine(QStringLiteral("  ") + key);
        preferences.removeObjectForKey(key);
    }
    return preferences.writeFailed() ? kExitFailure : kExitOk;
}

int setSetting(QRMPreferencesManager &preferences, const SettingDefinition &definition,
               const QString &text) {
    const std::optional<QVariant> value = settingValueFromText(definition.type, text);
    if (!value) {
        return usageError(
            QStringLiteral("'%1' is not a valid value for %2: %3")
                .arg(text, keyOf(definition), settingTextProblem(definition.type, text))
                .toStdString());
    }
    if (const auto range =
            outsideSettingRange(definition.id, *value, preferences.installedMemory())) {
        return usageError(QStringLiteral("%1 is out of range for %2: expected %3")
                              .arg(text, keyOf(definition), *range)
                              .toStdString());
    }
    preferences.setValue(definition.id, *value);
    if (preferences.writeFailed()) {
        return kExitFailure;
    }
    printLine(QStringLiteral("%1 = %2").arg(keyOf(definition), valueText(preferences, definition)));
    return kExitOk;
}

}  // namespace

int runSettings(Arguments args, QRMPreferencesManager &preferences) {
    if (args.size() == 1 && std::string_view(args[0]) == "--keys") {
        return listKeys();
    }
    if (args.size() == 1 && std::string_view(args[0]) == "--reset") {
        return resetSettings(preferences);
    }
    if (args.empty()) {
        return listSettings(preferences);
    }
    if (args[0][0] == '-') {
        return usageError("settings: unknown option '" + std::string(args[0]) + "'");
    }
    if (args.size() > 2) {
        return usageError("settings: too many arguments; give a key and at most one value");
    }
    const SettingDefinition *definition = findSetting(args[0]);
    if (!definition) {
        return usageError("settings: no setting is called '" + std::string(args[0]) +
                          "'; 'tarnwell settings' lists them");
    }
    if (args.size() == 2) {
        return setSetting(preferences, *definition, QString::fromLocal8Bit(args[1]));
    }
    printLine(valueText(preferences, *definition));
    return kExitOk;
}

int runSettings(Arguments args) {
    return runSettings(args, QRMPreferencesManager::sharedPreferencesManager());
}

}  // namespace tarnwell::cli
