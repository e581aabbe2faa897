#include "EVTAttributeDictionary.h"

#include <cstdint>
#include <limits>
#include <optional>

#include "EVTLog.h"

namespace tarnwell {

namespace {

constexpr double kMicrosPerUnit = 1000000.0;
// Prices travel as whole micros in a signed 64-bit number.
constexpr double kMaximumPrice =
    static_cast<double>(std::numeric_limits<int64_t>::max()) / kMicrosPerUnit;

QString truncated(const QString &text) {
    if (text.size() <= EVTAttributeDictionary::kMaximumLength) {
        return text;
    }
    qCWarning(
        lcEvents,
        "[Events] Maximum length for an Event attributes exceeded. Truncating to %u characters.",
        static_cast<unsigned>(EVTAttributeDictionary::kMaximumLength));
    return text.left(EVTAttributeDictionary::kMaximumLength);
}

bool isNumber(const QVariant &value) {
    switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Double:
        case QMetaType::Float:
            return true;
        default:
            return false;
    }
}

}  // namespace

EVTAttributeDictionary::EVTAttributeDictionary(const EVTAttributes &attributes) {
    entries_.reserve(attributes.size());
    for (const auto &[key, value] : attributes) {
        add(key, value);
    }
}

void EVTAttributeDictionary::add(const QString &key, const QVariant &value) {
    entries_.append({key, value, false});
}

void EVTAttributeDictionary::addPrice(const QString &key, double price) {
    entries_.append({key, price, true});
}

namespace {

std::optional<QJsonValue> normalised(const QString &key, const QVariant &value, bool isPrice) {
    if (isPrice) {
        const double price = value.toDouble();
        if (!(price <= kMaximumPrice)) {
            qCWarning(lcEvents).noquote()
                << QStringLiteral(
                       "[Events] Maximum value for a price attribute exceeded. Ignoring price "
                       "attribute with value: %1")
                       .arg(price);
            return std::nullopt;
        }
        return static_cast<qint64>(price * kMicrosPerUnit);
    }
    if (value.typeId() == QMetaType::QString) {
        return truncated(value.toString());
    }
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (isNumber(value)) {
        return QJsonValue::fromVariant(value);
    }
    qCWarning(lcEvents).noquote()
        << QStringLiteral(
               "[Events] Event attribute values must be of type NSString or NSNumber. "
               "Ignoring entry %1:%2")
               .arg(key, value.toString());
    return std::nullopt;
}

}  // namespace

QJsonObject EVTAttributeDictionary::toJson() const {
    QJsonObject json;
    for (const Entry &entry : entries_) {
        const std::optional<QJsonValue> value = normalised(entry.key, entry.value, entry.isPrice);
        if (!value) {
            continue;
        }
        const QString key = truncated(entry.key);
        if (!json.contains(key) && json.size() >= kMaximumEntries) {
            qCWarning(lcEvents).noquote()
                << QStringLiteral(
                       "[Events] Maximum number of Event attributes exceeded. Ignoring entry "
                       "%1:%2")
                       .arg(entry.key, value->toVariant().toString());
            continue;
        }
        json.insert(key, *value);
    }
    return json;
}

}  // namespace tarnwell
