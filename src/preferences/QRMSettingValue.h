#pragma once

#include <QString>
#include <QVariant>
#include <optional>

#include "preferences/QRMSettingsTable.h"

namespace tarnwell {

// Keys of a monitored-application record, shared by the Apps tab, the event
// triggers and the store.
namespace monitoredApplicationKey {
inline constexpr char kName[] = "name";
inline constexpr char kID[] = "ID";
inline constexpr std::array<const char *, 6> kEvents{"DidLaunch", "DidTerminate", "DidHide",
                                                     "DidUnhide", "DidActivate",  "DidDeactivate"};
}  // namespace monitoredApplicationKey

// Reads what the settings file holds under a key as the key's type. Returns the
// canonical form (bool, qint64, quint64, QString, QUrl, QStringList, or a
// QVariantList of QVariantMap), or nothing when the value cannot be read as
// that type: a hand-edited file must never be guessed into a wrong setting.
//
// The file is text, so scalars arrive as strings; lists arrive in the shapes
// QSettings writes them: a one-element list comes back as its element alone,
// an empty list as an invalid value under a present key.
std::optional<QVariant> typedSettingValue(SettingType type, const QVariant &stored);

// The form handed to QSettings for a canonical value; URLs are kept as text so
// the file stays readable and editable.
QVariant storableSettingValue(SettingType type, const QVariant &typed);

// Text conversions for the command line. Lists of language codes are written
// "en,ru"; records as a JSON array of objects.
std::optional<QVariant> settingValueFromText(SettingType type, const QString &text);
QString settingValueToText(SettingType type, const QVariant &typed);
// Why settingValueFromText refuses the text: for a record list the first
// fault found, otherwise what a value of the type looks like.
QString settingTextProblem(SettingType type, const QString &text);
// What a value of the type looks like, for error messages.
QString describeSettingType(SettingType type);

}  // namespace tarnwell
