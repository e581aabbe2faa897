#include "preferences/QRMSettingValue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaType>
#include <QStringList>
#include <QUrl>

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

bool isMonitoredApplicationRecord(const QVariant &element) {
    if (element.typeId() != QMetaType::QVariantMap) {
        return false;
    }
    const QVariantMap record = element.toMap();
    if (record.value(monitoredApplicationKey::kName).typeId() != QMetaType::QString ||
        record.value(monitoredApplicationKey::kID).typeId() != QMetaType::QString) {
        return false;
    }
    for (const char *event : monitoredApplicationKey::kEvents) {
        const auto found = record.constFind(event);
        if (found != record.cend() && found->typeId() != QMetaType::Bool) {
            return false;
        }
    }
    return true;
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
    for (const QVariant &element : list) {
        if (!isMonitoredApplicationRecord(element)) {
            return std::nullopt;
        }
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
            QJsonParseError error;
            const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
            if (error.error != QJsonParseError::NoError || !document.isArray()) {
                return std::nullopt;
            }
            return typedSettingValue(type, document.array().toVariantList());
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
