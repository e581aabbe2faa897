#include "EVTAttributeDictionary.h"

#include <cstdint>
#include <limits>

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
    qCInfo(lcEvents,
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
    for (const auto &[key, value] : attributes) {
        add(key, value);
    }
}

void EVTAttributeDictionary::add(const QString &key, const QVariant &value) {
    if (value.typeId() == QMetaType::QString) {
        insert(key, truncated(value.toString()));
    } else if (value.typeId() == QMetaType::Bool) {
        insert(key, value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
    } else if (isNumber(value)) {
        insert(key, QJsonValue::fromVariant(value));
    } else {
        qCWarning(lcEvents).noquote()
            << QStringLiteral(
                   "[Events] Event attribute values must be of type NSString or NSNumber. "
                   "Ignoring entry %1:%2")
                   .arg(key, value.toString());
    }
}

void EVTAttributeDictionary::addPrice(const QString &key, double price) {
    if (!(price <= kMaximumPrice)) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral(
                   "[Events] Maximum value for a price attribute exceeded. Ignoring price "
                   "attribute with value: %1")
                   .arg(price);
        return;
    }
    insert(key, static_cast<qint64>(price * kMicrosPerUnit));
}

void EVTAttributeDictionary::insert(const QString &key, const QJsonValue &value) {
    const QString storedKey = truncated(key);
    if (!entries_.contains(storedKey) && entries_.size() >= kMaximumEntries) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral(
                   "[Events] Maximum number of Event attributes exceeded. Ignoring entry %1:%2")
                   .arg(key, value.toVariant().toString());
        return;
    }
    entries_.insert(storedKey, value);
}

}  // namespace tarnwell
