#include "preferences/QRMSettingValue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaType>
#include <QStringList>
#include <QUrl>
#include <variant>

namespace tarnwell {

namespace {

std::optional<bool> readBoolean(const QVariant &stored) {
    if (stored.typeId() == QMetaType::Bool) {
        return stored.toBool();
    }
    if (stored.typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    const QString text = stored.toString().trimmed().toLower();
    if (text == u"true" || text == u"1") {
        return true;
    }
    if (text == u"false" || text == u"0") {
        return false;
    }
    return std::nullopt;
}

std::optional<qint64> readInteger(const QVariant &stored) {
    switch (stored.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            return stored.toLongLong();
        case QMetaType::UInt:
            return qint64(stored.toUInt());
        case QMetaType::ULongLong:
            if (stored.toULongLong() > quint64(std::numeric_limits<qint64>::max())) {
                return std::nullopt;
            }
            return qint64(stored.toULongLong());
        case QMetaType::QString: {
            bool ok = false;
            const qint64 value = stored.toString().trimmed().toLongLong(&ok, 10);
            return ok ? std::optional(value) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

std::optional<quint64> readUnsigned(const QVariant &stored) {
    switch (stored.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            if (stored.toLongLong() < 0) {
                return std::nullopt;
            }
            return quint64(stored.toLongLong());
        case QMetaType::UInt:
        case QMetaType::ULongLong:
            return stored.toULongLong();
        case QMetaType::QString: {
            const QString text = stored.toString().trimmed();
            bool ok = false;
            const quint64 value = text.toULongLong(&ok, 10);
            // toULongLong accepts a leading minus and wraps; a negative count is garbage.
            return ok && !text.startsWith(u'-') ? std::optional(value) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

std::optional<QUrl> readURL(const QVariant &stored) {
    QUrl url;
    if (stored.typeId() == QMetaType::QUrl) {
        url = stored.toUrl();
    } else if (stored.typeId() == QMetaType::QString) {
        url = QUrl(stored.toString().trimmed(), QUrl::StrictMode);
    } else {
        return std::nullopt;
    }
    if (!url.isValid() || url.isRelative()) {
        return std::nullopt;
    }
    return url;
}

std::optional<QStringList> readStringList(const QVariant &stored) {
    switch (stored.typeId()) {
        case QMetaType::UnknownType:
            return QStringList{};
        case QMetaType::QString:
            return QStringList{stored.toString()};
        case QMetaType::QStringList:
            return stored.toStringList();
        case QMetaType::QVariantList: {
            QStringList list;
            for (const QVariant &element : stored.toList()) {
                if (element.typeId() != QMetaType::QString) {
                    return std::nullopt;
                }
                list.append(element.toString());
            }
            return list;
        }
        default:
            return std::nullopt;
    }
}

// Why an element is not a monitored-application record; empty when it is one.
// Flags may be missing (they then count as off); no other key may appear.
QString recordProblem(const QVariant &element) {
    if (element.typeId() != QMetaType::QVariantMap) {
        return QStringLiteral("is not an object");
    }
    const QVariantMap record = element.toMap();
    for (const char *key : {monitoredApplicationKey::kName, monitoredApplicationKey::kID}) {
        if (record.value(key).typeId() != QMetaType::QString) {
            return QStringLiteral("has no \"%1\" text").arg(QLatin1String(key));
        }
    }
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        const auto &events = monitoredApplicationKey::kEvents;
        const bool isEvent = std::any_of(events.cbegin(), events.cend(),
                                         [&](const char *event) { return it.key() == event; });
        if (isEvent && it->typeId() != QMetaType::Bool) {
            return QStringLiteral("has \"%1\" that is not true or false").arg(it.key());
        }
        if (!isEvent && it.key() != monitoredApplicationKey::kName &&
            it.key() != monitoredApplicationKey::kID) {
            return QStringLiteral("has the unknown key \"%1\"").arg(it.key());
        }
    }
    return {};
}

// Why a list is not a list of records; empty when it is one.
QString recordListProblem(const QVariantList &list) {
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (const QString problem = recordProblem(list[i]); !problem.isEmpty()) {
            return QStringLiteral("record %1 %2").arg(i + 1).arg(problem);
        }
    }
    return {};
}

std::optional<QVariantList> readRecordList(const QVariant &stored) {
    QVariantList list;
    switch (stored.typeId()) {
        case QMetaType::UnknownType:
            return list;
        case QMetaType::QVariantMap:
            list.append(stored);
            break;
        case QMetaType::QVariantList:
            list = stored.toList();
            break;
        default:
            return std::nullopt;
    }
    if (!recordListProblem(list).isEmpty()) {
        return std::nullopt;
    }
    return list;
}

// The JSON array of a record list, or why the text is not one.
std::variant<QVariantList, QString> recordListFromJson(const QString &text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        return QStringLiteral("not JSON (%1 at byte %2)")
            .arg(error.errorString())
            .arg(error.offset);
    }
    if (!document.isArray()) {
        return QStringLiteral("not a JSON array of records");
    }
    QVariantList list = document.array().toVariantList();
    if (QString problem = recordListProblem(list); !problem.isEmpty()) {
        return problem;
    }
    return list;
}

template <typename T>
std::optional<QVariant> wrap(const std::optional<T> &value) {
    if (!value) {
        return std::nullopt;
    }
    return QVariant::fromValue(*value);
}

}  // namespace

std::optional<QVariant> typedSettingValue(SettingType type, const QVariant &stored) {
    switch (type) {
        case SettingType::Boolean:
            return wrap(readBoolean(stored));
        case SettingType::Integer:
            return wrap(readInteger(stored));
        case SettingType::UnsignedInteger:
            return wrap(readUnsigned(stored));
        case SettingType::String:
            if (stored.typeId() != QMetaType::QString) {
                return std::nullopt;
            }
            return stored;
        case SettingType::URL:
            return wrap(readURL(stored));
        case SettingType::StringList:
            return wrap(readStringList(stored));
        case SettingType::RecordList:
            return wrap(readRecordList(stored));
    }
    return std::nullopt;
}

QVariant storableSettingValue(SettingType type, const QVariant &typed) {
    if (type == SettingType::URL) {
        return typed.toUrl().toString(QUrl::FullyEncoded);
    }
    return typed;
}

std::optional<QVariant> settingValueFromText(SettingType type, const QString &text) {
    switch (type) {
        case SettingType::Boolean:
        case SettingType::Integer:
        case SettingType::UnsignedInteger:
        case SettingType::String:
        case SettingType::URL:
            return typedSettingValue(type, text);
        case SettingType::StringList: {
            QStringList codes;
            for (const QString &code : text.split(u',', Qt::SkipEmptyParts)) {
                codes.append(code.trimmed());
            }
            codes.removeAll(QString());
            return QVariant(codes);
        }
        case SettingType::RecordList: {
            const auto list = recordListFromJson(text);
            if (std::holds_alternative<QString>(list)) {
                return std::nullopt;
            }
            return QVariant(std::get<QVariantList>(list));
        }
    }
    return std::nullopt;
}

QString settingValueToText(SettingType type, const QVariant &typed) {
    switch (type) {
        case SettingType::Boolean:
            return typed.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        case SettingType::Integer:
        case SettingType::UnsignedInteger:
        case SettingType::String:
            return typed.toString();
        case SettingType::URL:
            return typed.toUrl().toString();
        case SettingType::StringList:
            return typed.toStringList().join(u',');
        case SettingType::RecordList:
            return QString::fromUtf8(QJsonDocument(QJsonArray::fromVariantList(typed.toList()))
                                         .toJson(QJsonDocument::Compact));
    }
    return {};
}

QString settingTextProblem(SettingType type, const QString &text) {
    if (type == SettingType::RecordList) {
        if (const auto list = recordListFromJson(text); std::holds_alternative<QString>(list)) {
            return std::get<QString>(list);
        }
    }
    return QStringLiteral("expected ") + describeSettingType(type);
}

QString describeSettingType(SettingType type) {
    switch (type) {
        case SettingType::Boolean:
            return QStringLiteral("true or false");
        case SettingType::Integer:
            return QStringLiteral("a whole number");
        case SettingType::UnsignedInteger:
            return QStringLiteral("a whole number, 0 or more");
        case SettingType::String:
            return QStringLiteral("text");
        case SettingType::URL:
            return QStringLiteral("an absolute URL such as https://example.org/feed.xml");
        case SettingType::StringList:
            return QStringLiteral("language codes separated by commas, such as en,ru");
        case SettingType::RecordList:
            return QStringLiteral(
                "a JSON array of objects with \"name\" and \"ID\" texts and the booleans "
                "\"DidLaunch\", \"DidTerminate\", \"DidHide\", \"DidUnhide\", \"DidActivate\", "
                "\"DidDeactivate\"");
    }
    return {};
}

}  // namespace tarnwell
