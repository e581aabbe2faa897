#include <gtest/gtest.h>
#include <QJsonDocument>
#include <QStringList>

#include "KitTestSupport.h"
#include "analytics/EVTAttributeDictionary.h"
#include "analytics/EVTEvent.h"

#include "CaseName.h"

namespace tarnwell {
namespace {

QString xs(int length) {
    return QString(length, QLatin1Char('x'));
}

struct AttributeCase {
    const char *name;
    int held;  // numbered entries already in the dictionary
    bool price;
    QString key;
    QVariant value;
    int size;           // entries afterwards
    QString storedKey;  // empty: the entry is dropped
    QJsonValue stored;
    QString logged;  // the beginning of the one message logged, empty: none
};

class AttributeDictionary : public testing::TestWithParam<AttributeCase> {};

TEST_P(AttributeDictionary, KeepsNormalisesOrDropsAnEntry) {
    const AttributeCase &c = GetParam();
    test::MessageCapture messages;
    EVTAttributeDictionary attributes;
    for (int i = 1; i <= c.held; ++i) {
        attributes.add(QStringLiteral("key%1").arg(i, 2, 10, QLatin1Char('0')), i);
    }
    if (c.price) {
        attributes.addPrice(c.key, c.value.toDouble());
    } else {
        attributes.add(c.key, c.value);
    }
    const QJsonObject json = attributes.toJson();
    EXPECT_EQ(json.size(), c.size);
    if (c.storedKey.isEmpty()) {
        EXPECT_FALSE(json.contains(c.key));
    } else {
        EXPECT_EQ(json.value(c.storedKey), c.stored);
    }
    EXPECT_EQ(messages.count(c.logged), c.logged.isEmpty() ? 0 : 1);
}

const QString kTooMany = "[Events] Maximum number of Event attributes exceeded. Ignoring entry ";
const QString kTooLong =
    "[Events] Maximum length for an Event attributes exceeded. Truncating to 100 characters.";
const QString kWrongType =
    "[Events] Event attribute values must be of type NSString or NSNumber. Ignoring entry ";
const QString kPriceTooHigh =
    "[Events] Maximum value for a price attribute exceeded. Ignoring price attribute with value: ";

INSTANTIATE_TEST_SUITE_P(
    Entries, AttributeDictionary,
    testing::Values(
        AttributeCase{"twentyFirstKept", 20, false, "new", 1, 21, "new", 1, {}},
        AttributeCase{"twentySecondDropped", 21, false, "new", 22, 21, {}, {}, kTooMany + "new:22"},
        AttributeCase{"sameKeyIsNoNewEntry", 21, false, "key01", "b", 21, "key01", "b", {}},
        AttributeCase{"hundredCharactersFit", 0, false, xs(100), xs(100), 1, xs(100), xs(100), {}},
        AttributeCase{"longValueCut", 0, false, "long", xs(150), 1, "long", xs(100), kTooLong},
        AttributeCase{"longKeyCut", 0, false, xs(101), "v", 1, xs(100), "v", kTooLong},
        AttributeCase{"booleanAsText", 0, false, "yes", true, 1, "yes", "true", {}},
        AttributeCase{"numberKept", 0, false, "count", 3, 1, "count", 3, {}},
        AttributeCase{"listDropped", 0, false, "list", QStringList{"a"}, 0, {}, {}, kWrongType},
        AttributeCase{"priceInMicros", 0, true, "item_price", 12.5, 1, "item_price", 12500000, {}},
        AttributeCase{"priceBeyondMicrosDropped", 0, true, "p", 1e13, 0, {}, {}, kPriceTooHigh}),
    tarnwell::test::caseName);

TEST(EventLine, IsTimestampNameByteLengthAndCompactJson) {
    const EVTEvent event =
        EVTEvent::custom("Memory is Cleaned", {{"Memory Installed", "16.00 GB"}, {"Ω", "ü"}});
    const QByteArray line = event.line();
    ASSERT_TRUE(line.endsWith('\n'));
    const QList<QByteArray> fields = line.chopped(1).split('\t');
    ASSERT_EQ(fields.size(), 4);
    EXPECT_EQ(fields[0].toULongLong(), static_cast<quint64>(event.timestamp() * 1000));
    EXPECT_EQ(fields[1], "custom");
    // Bytes, not characters: the non-ASCII attribute takes more than one each.
    EXPECT_EQ(fields[2].toInt(), fields[3].size());
    EXPECT_FALSE(fields[3].contains("\": "));
    const QJsonObject payload = QJsonDocument::fromJson(fields[3]).object();
    EXPECT_EQ(payload.value("eventId").toString(), event.identifier());
    EXPECT_EQ(payload.value("custom_type").toString(), "Memory is Cleaned");
    EXPECT_EQ(payload.value("custom_attributes").toObject().value("Ω").toString(), "ü");
}

}  // namespace
}  // namespace tarnwell
