#include <gtest/gtest.h>

#include <QUrl>

#include "preferences/QRMSettingRange.h"
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
    const char *problem = nullptr;     // how a refusal begins, if not "expected ..."
};

class SettingTextTest : public ::testing::TestWithParam<TextCase> {};

TEST_P(SettingTextTest, ParsesOrRefusesAndPrintsWhatItParses) {
    const TextCase &row = GetParam();
    EXPECT_EQ(settingValueFromText(row.type, row.text), row.expected);
    if (row.expected) {
        const QString printed = settingValueToText(row.type, *row.expected);
        EXPECT_EQ(settingValueFromText(row.type, printed), row.expected) << printed.toStdString();
    } else {
        const QString problem = settingTextProblem(row.type, row.text);
        EXPECT_TRUE(problem.startsWith(row.problem ? row.problem : "expected "))
            << problem.toStdString();
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
    {"YesIsNotABoolean", SettingType::Boolean, "yes", std::nullopt},
    {"Int64Overflow", SettingType::Integer, "9223372036854775808", std::nullopt},
    {"Fraction", SettingType::Integer, "4.5", std::nullopt},
    {"MinusOneIsNotACount", SettingType::UnsignedInteger, "-1", std::nullopt},
    {"UInt64Overflow", SettingType::UnsignedInteger, "18446744073709551616", std::nullopt},
    {"RelativeURL", SettingType::URL, "download/appcast.xml", std::nullopt},
    {"URLWithSpaceInHost", SettingType::URL, "https://a b/", std::nullopt},
    {"RecordWithoutID", SettingType::RecordList, R"([{"name":"Firefox"}])", std::nullopt,
     R"(record 1 has no "ID" text)"},
    {"EventAsText", SettingType::RecordList,
     R"([{"name":"F","ID":"f"},{"name":"F","ID":"f",)"
     R"("DidHide":"yes"}])",
     std::nullopt, R"(record 2 has "DidHide" that is not true or false)"},
    {"RecordWithIcon", SettingType::RecordList, R"([{"name":"A","ID":"a","icon":"a.png"}])",
     std::nullopt, R"(record 1 has the unknown key "icon")"},
    {"ObjectNotArray", SettingType::RecordList, R"({"name":"F","ID":"f"})", std::nullopt,
     "not a JSON array of records"},
    {"NotJSON", SettingType::RecordList, "firefox", std::nullopt, "not JSON ("},
};

INSTANTIATE_TEST_SUITE_P(Accepted, SettingTextTest, ::testing::ValuesIn(kAccepted),
                         tarnwell::test::caseName);
INSTANTIATE_TEST_SUITE_P(Refused, SettingTextTest, ::testing::ValuesIn(kRefused),
                         tarnwell::test::caseName);

// What a person may type beyond the type itself. 8 GiB installed puts the
// thresholds' limit at 4096 MB.
struct RangeCase {
    const char *name;
    Setting setting;
    QVariant value;
    const char *refusal;  // nullptr: accepted
    std::optional<uint64_t> installedMemory = uint64_t(8) << 30;
};

class SettingRangeTest : public ::testing::TestWithParam<RangeCase> {};

TEST_P(SettingRangeTest, AcceptsOrDescribesTheRange) {
    const RangeCase &row = GetParam();
    EXPECT_EQ(outsideSettingRange(row.setting, row.value, row.installedMemory),
              row.refusal ? std::optional<QString>(row.refusal) : std::nullopt);
}

constexpr char kFeedRule[] = "an https address of an update feed (http only to this machine)";

INSTANTIATE_TEST_SUITE_P(
    Rows, SettingRangeTest,
    ::testing::Values(
        RangeCase{"IconTypeLast", Setting::StatusBarIconType, 4, nullptr},
        RangeCase{"IconTypeAbove", Setting::StatusBarIconType, 5, "a whole number from 0 to 4"},
        RangeCase{"LanguageIndexAbove", Setting::SelectedLanguage, 4, "a whole number from 0 to 3"},
        // A timer takes milliseconds as an int: 2147483647 ms is 2147483 s or 35791 min.
        RangeCase{"RefreshRateZero", Setting::RefreshRate, 0,
                  "a whole number from 1 to 2147483 seconds"},
        RangeCase{"RefreshRateLongest", Setting::RefreshRate, 2147483, nullptr},
        RangeCase{"RefreshRateBeyondATimer", Setting::RefreshRate, 2147484,
                  "a whole number from 1 to 2147483 seconds"},
        RangeCase{"PeriodLongest", Setting::AutoCleanEveryTime, 35791, nullptr},
        RangeCase{"PeriodZero", Setting::AutoCleanEveryTime, 0,
                  "a whole number from 1 to 35791 minutes"},
        RangeCase{"ThresholdHalfTheMemory", Setting::AutoCleanByFreeSize, 4096, nullptr},
        RangeCase{"ThresholdAboveHalf", Setting::AutoCleanByInactiveSize, 4097,
                  "a whole number from 1 to 4096 MB"},
        RangeCase{"ThresholdZero", Setting::AutoCleanByFreeSize, 0,
                  "a whole number from 1 to 4096 MB"},
        RangeCase{"ThresholdWhileMemoryUnknown", Setting::AutoCleanByFreeSize, 1,
                  "a whole number of MB up to half the installed memory, which is not known now",
                  std::nullopt},
        RangeCase{"FeedOverHttps", Setting::FeedURL, QUrl("https://example.org/a.xml"), nullptr},
        RangeCase{"FeedOverLoopbackHttp", Setting::FeedURL, QUrl("http://127.0.0.1:8931/a.xml"),
                  nullptr},
        RangeCase{"FeedOverPlainHttp", Setting::FeedURL, QUrl("http://example.org/a.xml"),
                  kFeedRule},
        RangeCase{"FeedToLookalikeHost", Setting::FeedURL, QUrl("http://127.example.org/"),
                  kFeedRule},
        RangeCase{"FeedFromAFile", Setting::FeedURL, QUrl("file:///tmp/a.xml"), kFeedRule}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::test
