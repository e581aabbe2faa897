#include <gtest/gtest.h>
#include <QJsonDocument>
#include <QStringList>

#include "MessageCapture.h"
#include "analytics/EVTAttributeDictionary.h"
#include "analytics/EVTEvent.h"

#include "CaseName.h"

namespace tarnwell {
namespace {

EVTAttributes numberedAttributes(int count) {
    EVTAttributes attributes;
    for (int i = 1; i <= count; ++i) {
        attributes.append({QStringLiteral("key%1").arg(i, 2, 10, QLatin1Char('0')), i});
    }
    return attributes;
}

TEST(AttributeDictionary, KeepsTwentyOneEntriesAndDropsTheTwentySecond) {
    test::MessageCapture messages;
    const QJsonObject attributes = EVTAttributeDictionary(numberedAttributes(22)).toJson();
    EXPECT_EQ(attributes.size(), 21);
    EXPECT_TRUE(attributes.contains("key21"));
    EXPECT_FALSE(attributes.contains("key22"));
    EXPECT_EQ(messages.count("[Events] Maximum number of Event attributes exceeded. Ignoring "
                             "entry key22:22"),
              1);
}

TEST(AttributeDictionary, ReplacingAKeyDoesNotCountAsANewEntry) {
    EVTAttributeDictionary attributes(numberedAttributes(21));
    attributes.add("key01", "again");
    EXPECT_EQ(attributes.toJson().value("key01").toString(), "again");
}

struct LengthCase {
    const char *name;
    int length;
    bool truncated;
};

class AttributeLength : public testing::TestWithParam<LengthCase> {};

TEST_P(AttributeLength, KeysAndStringValuesAreCutToOneHundredCharacters) {
    const LengthCase &c = GetParam();
    test::MessageCapture messages;
    const QString text(c.length, QLatin1Char('x'));
    EVTAttributeDictionary attributes;
    attributes.add("value", text);
    attributes.add(text, "key");
    const QJsonObject json = attributes.toJson();
    const int expected = std::min(c.length, 100);
    EXPECT_EQ(json.value("value").toString().size(), expected);
    EXPECT_EQ(json.value(QString(expected, QLatin1Char('x'))).toString(), "key");
    EXPECT_EQ(messages.count("[Events] Maximum length for an Event attributes exceeded. "
                             "Truncating to 100 characters."),
              c.truncated ? 2 : 0);
}

INSTANTIATE_TEST_SUITE_P(Lengths, AttributeLength,
                         testing::Values(LengthCase{"fits", 100, false},
                                         LengthCase{"oneOver", 101, true},
                                         LengthCase{"long", 150, true}),
                         tarnwell::test::caseName);

TEST(AttributeDictionary, BooleansBecomeTextPricesMicrosAndOtherTypesAreDropped) {
    test::MessageCapture messages;
    EVTAttributeDictionary attributes;
    attributes.add("yes", true);
    attributes.add("count", 3);
    attributes.add("list", QStringList{"a"});
    attributes.addPrice("item_price", 12.5);
    attributes.addPrice("total_price", 1e13);
    const QJsonObject json = attributes.toJson();
    EXPECT_EQ(json.value("yes").toString(), "true");
    EXPECT_EQ(json.value("count").toInteger(), 3);
    EXPECT_FALSE(json.contains("list"));
    EXPECT_EQ(json.value("item_price").toInteger(), 12500000);
    EXPECT_FALSE(json.contains("total_price"));
    EXPECT_EQ(messages.count("[Events] Event attribute values must be of type "
                             "NSString or NSNumber. Ignoring entry list:"),
              1);
    EXPECT_EQ(
        messages.count("[Events] Maximum value for a price attribute exceeded. Ignoring price"), 1);
}

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
