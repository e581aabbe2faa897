#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <thread>

#include "preferences/QRMConstants.h"
#include "preferences/QRMPreferencesManager.h"
#include "preferences/QRMSettingRange.h"
#include "preferences/QRMSettingValue.h"
#include "preferences/Updater.h"

#include "CaseName.h"

namespace tarnwell::test {
namespace {

const QUrl kStableFeed{"https://site.test/download/appcast.xml"};
constexpr uint64_t kGiB = uint64_t(1) << 30;

// A store over a settings file of its own in a temporary folder.
class PreferencesTest : public ::testing::Test {
protected:
    QString settingsPath() const { return dir_.filePath("Tarnwell.conf"); }
    std::unique_ptr<QRMPreferencesManager> makeStore(const QString &path) {
        return std::make_unique<QRMPreferencesManager>(
            path, [this] { return installedMemory_; }, kStableFeed);
    }
    QRMPreferencesManager &store() {
        if (!store_) {
            store_ = makeStore(settingsPath());
        }
        return *store_;
    }
    // A store that starts again from the file, as after a restart. QSettings
    // shares parsed files within a process, so the text is copied first.
    std::unique_ptr<QRMPreferencesManager> restartedStore() {
        const QString copy = dir_.filePath(QStringLiteral("restart-%1.conf").arg(++restarts_));
        QFile::copy(settingsPath(), copy);
        return makeStore(copy);
    }
    void writeFile(const QByteArray &text) {
        QFile file(settingsPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir dir_;
    std::optional<uint64_t> installedMemory_ = 8 * kGiB;
    std::unique_ptr<QRMPreferencesManager> store_;
    int restarts_ = 0;
};

// A wrong default, a retyped one, a misspelt key or a wrong write-back rule
// fails.
TEST_F(PreferencesTest, FreshStoreGivesTheDefaultsOfItsFile) {
    QFile defaults(TARNWELL_TEST_DATA_DIR "/preferences/fresh-defaults.txt");
    ASSERT_TRUE(defaults.open(QIODevice::ReadOnly | QIODevice::Text));
    QStringList expected;
    QVariantList values;
    while (!defaults.atEnd()) {
        const QString line = QString::fromUtf8(defaults.readLine()).section('#', 0, 0).trimmed();
        const SettingDefinition *definition = findSetting(line.section(' ', 0, 0).toStdString());
        if (!line.isEmpty()) {
            expected.append(line);
            values.append(definition ? store().value(definition->id) : QVariant("unknown"));
        }
    }
    QSettings file(settingsPath(), QSettings::IniFormat);
    QStringList printed;
    for (qsizetype i = 0; i < expected.size(); ++i) {
        const QString key = expected[i].section(' ', 0, 0);
        const QVariant &value = values[i];
        printed.append(QStringList{key, value.isValid() ? value.typeName() : "none",
                                   value.toString(), file.contains(key) ? "stored" : ""}
                           .join(' ')
                           .simplified());
    }
    EXPECT_EQ(printed.join('\n').toStdString(), expected.join('\n').toStdString());
}

// Keys whose default nothing outside the program fixes: only their names,
// which the panel's menu and the update framework's files share.
TEST(SettingNames, PanelAndUpdaterKeysAreKnown) {
    for (const char *key :
         {"statusBarTextPlacement", "statusBarAppearance", "SULastCheckTime", "SUSkippedVersion"}) {
        EXPECT_NE(findSetting(key), nullptr) << key;
    }
}

struct ThresholdCase {
    const char *name;
    std::optional<uint64_t> installed;
    qint64 free;
    qint64 inactive;
};

class ThresholdDefaultTest : public PreferencesTest,
                             public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(ThresholdDefaultTest, ComesFromInstalledMemoryAndIsWrittenBack) {
    installedMemory_ = GetParam().installed;
    EXPECT_EQ(store().autoCleanByFreeSize(), GetParam().free);
    EXPECT_EQ(store().autoCleanByInactiveSize(), GetParam().inactive);
    // Once written, the default no longer follows the machine.
    installedMemory_ = 64 * kGiB;
    const auto restarted = restartedStore();
    EXPECT_EQ(restarted->autoCleanByFreeSize(), GetParam().free);
    EXPECT_EQ(restarted->autoCleanByInactiveSize(), GetParam().inactive);
}

INSTANTIATE_TEST_SUITE_P(
    Machines, ThresholdDefaultTest,
    ::testing::Values(ThresholdCase{"NoStatisticsYet", std::nullopt, 0, 0},
                      ThresholdCase{"JustUnderOnePercentStep", 104'857'599, 0, 0},
                      // (2^64 - 1) / 104857600 rounded down, and five times that
                      ThresholdCase{"Largest", UINT64_MAX, 175'921'860'444, 879'609'302'220}),
    caseName);

// Every value type survives the trip through the file's text, including the
// shapes QSettings writes lists in (one element alone, an empty list as a marker).
struct RoundTrip {
    const char *name;
    Setting setting;
    QVariant value;
};

class RoundTripTest : public PreferencesTest, public ::testing::WithParamInterface<RoundTrip> {};

TEST_P(RoundTripTest, ValueReadAfterRestartEqualsValueSet) {
    ASSERT_TRUE(store().setValue(GetParam().setting, GetParam().value));
    EXPECT_EQ(restartedStore()->value(GetParam().setting), GetParam().value);
}

QVariantMap record(const QString &name, const QString &id) {
    return {{"name", name}, {"ID", id}, {"DidLaunch", true}, {"DidHide", false}};
}

constexpr Setting kLanguages = Setting::AppleLanguages;
constexpr Setting kMonitored = Setting::ApplicationsAndUtilitiesToMonitoring;

INSTANTIATE_TEST_SUITE_P(
    Types, RoundTripTest,
    ::testing::Values(
        RoundTrip{"BooleanFalseOverWriteBackDefault", Setting::CollectUsageEvents, false},
        RoundTrip{"LargestUnsigned", Setting::TotallyCleaned, quint64(UINT64_MAX)},
        RoundTrip{"BuildWithComma", Setting::BundleBuild, QString("1,2")},
        RoundTrip{"FeedWithQuery", Setting::FeedURL,
                  QUrl("http://127.0.0.1:8080/download/beta/appcast.xml?a=1&b=two words")},
        RoundTrip{"OneLanguage", kLanguages, QStringList{"ukr"}},
        RoundTrip{"TwoLanguages", kLanguages, QStringList{"ru", "en"}},
        RoundTrip{"NoLanguages", kLanguages, QStringList{}},
        RoundTrip{"NoRecords", kMonitored, QVariantList{}},
        RoundTrip{"OneRecord", kMonitored, QVariantList{record("Firefox", "firefox.desktop")}},
        RoundTrip{"RecordsWithCommasAndCyrillic", kMonitored,
                  QVariantList{record("Files, the manager", "org.gnome.Nautilus.desktop"),
                               record("Тетрадь", "notes.desktop")}}),
    caseName);

TEST_F(PreferencesTest, SetterRefusesAValueOfTheWrongTypeAndKeepsTheOldOne) {
    store().setRefreshRate(7);
    EXPECT_FALSE(store().setValue(Setting::RefreshRate, QString("soon")));
    EXPECT_FALSE(store().setValue(Setting::LastTimeCleaned, qint64(-5)));
    EXPECT_FALSE(store().setValue(kMonitored, QVariantList{QVariantMap{{"name", "no ID"}}}));
    EXPECT_EQ(restartedStore()->refreshRate(), 7);
}

// A hand-edited file: whatever cannot be read as the key's type counts as
// absent, so the default applies (and write-back rows replace the garbage). An
// interval a timer cannot run (0 spins, too long wraps its int of
// milliseconds) is held to the nearest bound.
struct CorruptValue {
    const char *name;
    QByteArray line;
    Setting setting;
    QVariant expected;
};

class CorruptFileTest : public PreferencesTest,
                        public ::testing::WithParamInterface<CorruptValue> {};

TEST_P(CorruptFileTest, ValueInUseIsTheDefaultOrTheNearestBound) {
    writeFile("[General]\n" + GetParam().line + "\n");
    EXPECT_EQ(store().value(GetParam().setting), GetParam().expected);
    if (settingDefinition(GetParam().setting).rule == DefaultRule::WriteBack) {
        EXPECT_TRUE(restartedStore()->hasStoredValue(GetParam().setting)) << "default written";
    }
}

constexpr Setting kRefresh = Setting::RefreshRate;
constexpr Setting kPeriod = Setting::AutoCleanEveryTime;

INSTANTIATE_TEST_SUITE_P(
    HandEdited, CorruptFileTest,
    ::testing::Values(
        CorruptValue{"WordForNumber", "refreshRate=soon", kRefresh, qint64(5)},
        CorruptValue{"ListForBoolean", "showDockIcon=true, false", Setting::ShowDockIcon, false},
        CorruptValue{"RelativeFeed", "FeedURL=download/appcast.xml", Setting::FeedURL,
                     QVariant(kStableFeed)},
        CorruptValue{"ListForBuild", "bundleBuild=1, 2", Setting::BundleBuild, QVariant()},
        CorruptValue{"BrokenVariant", "applicationsAndUtilitiesToMonitoring=@Variant(\\0\\0\\x7f",
                     kMonitored, QVariant()},
        CorruptValue{"HandWrittenLanguage", "AppleLanguages=ru", kLanguages, QStringList{"ru"}},
        CorruptValue{"RefreshZero", "refreshRate=0", kRefresh, qint64(1)},
        CorruptValue{"RefreshNegative", "refreshRate=-5", kRefresh, qint64(1)},
        CorruptValue{"RefreshPastLongest", "refreshRate=2147484", kRefresh, qint64(2147483)},
        CorruptValue{"RefreshWrapsToZero", "refreshRate=536870912", kRefresh, qint64(2147483)},
        CorruptValue{"CleaningZero", "autoCleanEveryTime=0", kPeriod, qint64(1)},
        CorruptValue{"CleaningSpinning", "autoCleanEveryTime=134217728", kPeriod, qint64(35791)}),
    caseName);

TEST_F(PreferencesTest, ChangesWrittenByAnotherProcessAreReadAtOnce) {
    store().setRefreshRate(5);
    writeFile("[General]\nrefreshRate=12\nshowDockIcon=true\n");
    EXPECT_EQ(store().refreshRate(), 12);
    EXPECT_TRUE(store().showDockIcon());
}

TEST_F(PreferencesTest, UnwritableFileIsReportedOnceAndValuesLiveOnInMemory) {
    // A folder where the file should be: cannot be read nor written, even as root.
    ASSERT_TRUE(QDir(dir_.path()).mkdir("Tarnwell.conf"));
    static int warnings = 0;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
            warnings += type == QtWarningMsg;
        });
    EXPECT_EQ(store().refreshRate(), 5);
    store().setRefreshRate(2);
    store().setShowDockIcon(true);
    qInstallMessageHandler(previous);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(store().refreshRate(), 2);
    EXPECT_TRUE(store().showDockIcon());
}

TEST_F(PreferencesTest, GenericKeysHoldDataUntilRemoved) {
    const QByteArray bytes("\x00\x01 state\n", 9);
    store().setData(bytes, "windowState");
    store().setData(QString("text"), "notData");
    EXPECT_EQ(restartedStore()->dataForKey("windowState"), bytes);
    EXPECT_TRUE(store().dataForKey("notData").isNull());
    store().removeObjectForKey("windowState");
    EXPECT_TRUE(restartedStore()->dataForKey("windowState").isNull());
}

struct RecordingUpdater : Updater {
    void setFeedURL(const QUrl &url) override { calls.append(url.toString()); }
    void checkForUpdateInformation() override { calls.append("check"); }
    QStringList calls;
};

// Setting the feed always reaches the updater, even unchanged; a feed given
// at run time is used but never stored.
TEST_F(PreferencesTest, FeedChangesReachTheUpdaterAndOverridesAreNotStored) {
    const QUrl local("http://127.0.0.1:8931/download/appcast.xml");
    QRMPreferencesManager overridden(
        settingsPath(), [] { return std::nullopt; }, local, true);
    EXPECT_EQ(overridden.updatesFeedURL(), local);
    EXPECT_FALSE(restartedStore()->hasStoredValue(Setting::FeedURL));

    const QString beta("https://site.test/download/beta/appcast.xml");
    RecordingUpdater updater;
    store().setUpdater(&updater);
    store().updatesFeedURL();  // writing back the default is not a change
    store().setUpdatesFeedURL(QUrl(beta));
    store().setUpdatesFeedURL(QUrl(beta));
    store().setUpdater(nullptr);
    EXPECT_EQ(updater.calls, QStringList({beta, "check", beta, "check"}));
}

TEST_F(PreferencesTest, CountersWrittenFromTwoThreadsAllArrive) {
    QRMPreferencesManager &shared = store();
    std::thread other([&shared] {
        for (int i = 0; i < 200; ++i) {
            shared.setMaxCleaned(quint64(i));
        }
    });
    for (int i = 0; i < 200; ++i) {
        shared.setLastTimeCleaned(quint64(i));
        shared.refreshRate();
    }
    other.join();
    const auto restarted = restartedStore();
    EXPECT_EQ(restarted->lastTimeCleaned(), 199u);
    EXPECT_EQ(restarted->maxCleaned(), 199u);
}

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

using T = SettingType;
// Events left out of a record are accepted.
const QVariantMap kFirefox{{"name", "Firefox"}, {"ID", "firefox.desktop"}, {"DidLaunch", true}};

const TextCase kAccepted[] = {
    {"True", T::Boolean, "true", QVariant(true)},
    {"ZeroIsFalse", T::Boolean, "0", QVariant(false)},
    {"Negative", T::Integer, "-3", QVariant(qint64(-3))},
    {"Int64Max", T::Integer, "9223372036854775807", QVariant(qint64(INT64_MAX))},
    {"UInt64Max", T::UnsignedInteger, "18446744073709551615", QVariant(quint64(UINT64_MAX))},
    {"AnyText", T::String, "120 beta", QVariant(QString("120 beta"))},
    {"LocalFeed", T::URL, "http://127.0.0.1:8080/download/appcast.xml",
     QVariant(QUrl("http://127.0.0.1:8080/download/appcast.xml"))},
    {"Languages", T::StringList, "ru-RU, en", QVariant(QStringList{"ru-RU", "en"})},
    {"NoLanguages", T::StringList, "", QVariant(QStringList{})},
    {"Records", T::RecordList, R"([{"name":"Firefox","ID":"firefox.desktop","DidLaunch":true}])",
     QVariant(QVariantList{kFirefox})},
    {"EmptyRecords", T::RecordList, "[]", QVariant(QVariantList{})},
};

const TextCase kRefused[] = {
    {"YesIsNotABoolean", T::Boolean, "yes", std::nullopt},
    {"Int64Overflow", T::Integer, "9223372036854775808", std::nullopt},
    {"Fraction", T::Integer, "4.5", std::nullopt},
    {"MinusOneIsNotACount", T::UnsignedInteger, "-1", std::nullopt},
    {"UInt64Overflow", T::UnsignedInteger, "18446744073709551616", std::nullopt},
    {"RelativeURL", T::URL, "download/appcast.xml", std::nullopt},
    {"URLWithSpaceInHost", T::URL, "https://a b/", std::nullopt},
    {"RecordWithoutID", T::RecordList, R"([{"name":"Firefox"}])", std::nullopt,
     R"(record 1 has no "ID" text)"},
    {"EventAsText", T::RecordList,
     R"([{"name":"F","ID":"f"},{"name":"F","ID":"f","DidHide":"yes"}])", std::nullopt,
     R"(record 2 has "DidHide" that is not true or false)"},
    {"RecordWithIcon", T::RecordList, R"([{"name":"A","ID":"a","icon":"a.png"}])", std::nullopt,
     R"(record 1 has the unknown key "icon")"},
    {"ObjectNotArray", T::RecordList, R"({"name":"F","ID":"f"})", std::nullopt,
     "not a JSON array of records"},
    {"NotJSON", T::RecordList, "firefox", std::nullopt, "not JSON ("},
};

INSTANTIATE_TEST_SUITE_P(Accepted, SettingTextTest, ::testing::ValuesIn(kAccepted), caseName);
INSTANTIATE_TEST_SUITE_P(Refused, SettingTextTest, ::testing::ValuesIn(kRefused), caseName);

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
constexpr char kRefreshRule[] = "a whole number from 1 to 2147483 seconds";
constexpr char kThresholdRule[] = "a whole number from 1 to 4096 MB";
constexpr Setting kFree = Setting::AutoCleanByFreeSize;

// A timer takes milliseconds as an int: 2147483647 ms is 2147483 s or 35791 min.
INSTANTIATE_TEST_SUITE_P(
    Rows, SettingRangeTest,
    ::testing::Values(
        RangeCase{"IconTypeLast", Setting::StatusBarIconType, 4, nullptr},
        RangeCase{"IconTypeAbove", Setting::StatusBarIconType, 5, "a whole number from 0 to 4"},
        RangeCase{"LanguageIndexAbove", Setting::SelectedLanguage, 4, "a whole number from 0 to 3"},
        RangeCase{"RefreshRateZero", kRefresh, 0, kRefreshRule},
        RangeCase{"RefreshRateLongest", kRefresh, 2147483, nullptr},
        RangeCase{"RefreshRateBeyondATimer", kRefresh, 2147484, kRefreshRule},
        RangeCase{"PeriodLongest", kPeriod, 35791, nullptr},
        RangeCase{"PeriodZero", kPeriod, 0, "a whole number from 1 to 35791 minutes"},
        RangeCase{"ThresholdHalfTheMemory", kFree, 4096, nullptr},
        RangeCase{"ThresholdAboveHalf", Setting::AutoCleanByInactiveSize, 4097, kThresholdRule},
        RangeCase{"ThresholdZero", kFree, 0, kThresholdRule},
        RangeCase{"ThresholdWhileMemoryUnknown", kFree, 1,
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
    caseName);

// An address from the environment replaces the build's only when the feed
// rule above accepts it; the feeds hang below it.
TEST(SiteAddress, EnvironmentReplacesTheBuiltInOneOnlyWhenSecure) {
    qunsetenv("TARNWELL_SITE_URL");
    const QString builtIn = QRMConstants::configuredSiteURL();
    qputenv("TARNWELL_SITE_URL", "http://example.org");
    EXPECT_FALSE(QRMConstants::siteURLOverridden());
    EXPECT_EQ(QRMConstants::configuredSiteURL(), builtIn);

    qputenv("TARNWELL_SITE_URL", " https://staging.example.org// ");
    EXPECT_TRUE(QRMConstants::siteURLOverridden());
    const QRMConstants constants(QRMConstants::configuredSiteURL());
    qunsetenv("TARNWELL_SITE_URL");
    EXPECT_EQ(constants.siteURL(), "https://staging.example.org");
    const QString feeds = "https://staging.example.org/download/%1appcast.xml";
    EXPECT_EQ(constants.updatesURL(), QUrl(feeds.arg("")));
    EXPECT_EQ(constants.updatesBetaURL(), QUrl(feeds.arg("beta/")));
    EXPECT_EQ(constants.updatesAlphaURL(), QUrl(feeds.arg("alpha/")));
}

}  // namespace
}  // namespace tarnwell::test
