#include <gtest/gtest.h>

#include <QUrl>

#include "preferences/QRMSettingValue.h"

#include "CaseName.h"

namespace tarnwell::test {
namespace {

// Text as typed on the command line, through the same rules as the file.
struct TextCase {
    const char *name;
    SettingType type;
    QString text;
    std::optional<QVariant> expected;  // nothing: refused
};

class SettingTextTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(SettingTextTest, ParsesOrRefusesAndPrintsWhatItParses) {
    const TextCase &row = GetParam();
    EXPECT_EQ(settingValueFromText(row.type, row.text), row.expected);
    if (row.expected) {
        const QString printed = settingValueToText(row.type, *row.expected);
        EXPECT_EQ(settingValueFromText(row.type, printed), row.expected) << printed.toStdString();
    }
}

// Events left out of a record are accepted.
const QVariantMap kFirefox{{"name", "Firefox"}, {"ID", "firefox.desktop"}, {"DidLaunch", true}};

const TextCase kAccepted[] = {
    TextCase{"True", SettingType::Boolean, "true", QVariant(true)},
    TextCase{"ZeroIsFalse", SettingType::Boolean, "0", QVariant(false)},
    TextCase{"Negative", SettingType::Integer, "-3", QVariant(qint64(-3))},
    TextCase{"Int64Max", SettingType::Integer, "9223372036854775807", QVariant(qint64(INT64_MAX))},
    TextCase{"UInt64Max", SettingType::UnsignedInteger, "18446744073709551615",
             QVariant(quint64(UINT64_MAX))},
    TextCase{"AnyText", SettingType::String, "120 beta", QVariant(QString("120 beta"))},
    TextCase{"LocalFeed", SettingType::URL, "http://127.0.0.1:8080/download/appcast.xml",
             QVariant(QUrl("http://127.0.0.1:8080/download/appcast.xml"))},
    TextCase{"Languages", SettingType::StringList, "ru-RU, en",
             QVariant(QStringList{"ru-RU", "en"})},
    TextCase{"NoLanguages", SettingType::StringList, "", QVariant(QStringList{})},
    TextCase{"Records", SettingType::RecordList,
             R"([{"name":"Firefox","ID":"firefox.desktop","DidLaunch":true}])",
             QVariant(QVariantList{kFirefox})},
    TextCase{"EmptyRecords", SettingType::RecordList, "[]", QVariant(QVariantList{})},
};

const TextCase kRefused[] = {
    TextCase{"YesIsNotABoolean", SettingType::Boolean, "yes", std::nullopt},
    TextCase{"Int64Overflow", SettingType::Integer, "9223372036854775808", std::nullopt},
    TextCase{"Fraction", SettingType::Integer, "4.5", std::nullopt},
    TextCase{"MinusOneIsNotACount", SettingType::UnsignedInteger, "-1", std::nullopt},
    TextCase{"UInt64Overflow", SettingType::UnsignedInteger, "18446744073709551616", std::nullopt},
    TextCase{"RelativeURL", SettingType::URL, "download/appcast.xml", std::nullopt},
    TextCase{"URLWithSpaceInHost", SettingType::URL, "https://a b/", std::nullopt},
    TextCase{"RecordWithoutID", SettingType::RecordList, R"([{"name":"Firefox"}])", std::nullopt},
    TextCase{"EventAsText", SettingType::RecordList, R"([{"name":"F","ID":"f","DidLaunch":"yes"}])",
             std::nullopt},
    TextCase{"ObjectNotArray", SettingType::RecordList, R"({"name":"F","ID":"f"})", std::nullopt},
    TextCase{"NotJSON", SettingType::RecordList, "firefox", std::nullopt},
};


INSTANTIATE_TEST_SUITE_P(Accepted, SettingTextTest, ::testing::ValuesIn(kAccepted), tarnwell::test::caseName);
INSTANTIATE_TEST_SUITE_P(Refused, SettingTextTest, ::testing::ValuesIn(kRefused), tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::test
