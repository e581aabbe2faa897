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
    std::unique_ptr<QRMPreferencesManager> restartedStore(const QString &from = {}) {
        const QString copy = dir_.filePath(QStringLiteral("restart-%1.conf").arg(++restarts_));
        QFile::copy(from.isEmpty() ? settingsPath() : from, copy);
        return makeStore(copy);
    }
    QString writeFile(const QByteArray &text, const QString &name = "Tarnwell.conf") {
        QFile file(dir_.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
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

// The thresholds' defaults come from the installed memory; once written, they
// no longer follow the machine.
TEST_F(PreferencesTest, ThresholdDefaultsComeFromInstalledMemoryAndAreWrittenBack) {
    const std::tuple<std::optional<uint64_t>, qint64, qint64> rows[] = {
        {std::nullopt, 0, 0},  // no statistics yet
        {104'857'599, 0, 0},   // just under one percent step
        // (2^64 - 1) / 104857600 rounded down, and five times that
        {UINT64_MAX, 175'921'860'444, 879'609'302'220}};
    for (const auto &[installed, free, inactive] : rows) {
        installedMemory_ = installed;
        const QString path = writeFile("", QStringLiteral("machine-%1.conf").arg(++restarts_));
        const auto fresh = makeStore(path);
        EXPECT_EQ(std::pair(fresh->autoCleanByFreeSize(), fresh->autoCleanByInactiveSize()),
                  std::pair(free, inactive));
        installedMemory_ = 64 * kGiB;
        const auto restarted = restartedStore(path);
        EXPECT_EQ(std::pair(restarted->autoCleanByFreeSize(), restarted->autoCleanByInactiveSize()),
                  std::pair(free, inactive));
    }
}

QVariantMap record(const QString &name, const QString &id) {
    return {{"name", name}, {"ID", id}, {"DidLaunch", true}, {"DidHide", false}};
}

constexpr Setting kLanguages = Setting::AppleLanguages;
constexpr Setting kMonitored = Setting::ApplicationsAndUtilitiesToMonitoring;

// Every value type survives the trip through the file's text, including the
// shapes QSettings writes lists in (one element alone, an empty list as a marker).
TEST_F(PreferencesTest, ValueReadAfterRestartEqualsValueSet) {
    const std::pair<Setting, QVariant> rows[] = {
        {Setting::CollectUsageEvents, false},  // over a written-back default
        {Setting::TotallyCleaned, quint64(UINT64_MAX)},
        {Setting::BundleBuild, QString("1,2")},
        {Setting::FeedURL, QUrl("http://127.0.0.1:8080/download/beta/appcast.xml?a=1&b=two words")},
        {kLanguages, QStringList{"ukr"}},
        {kLanguages, QStringList{"ru", "en"}},
        {kLanguages, QStringList{}},
        {kMonitored, QVariantList{}},
        {kMonitored, QVariantList{record("Firefox", "firefox.desktop")}},
        {kMonitored, QVariantList{record("Files, the manager", "org.gnome.Nautilus.desktop"),
                                  record("Тетрадь", "notes.desktop")}}};
    for (const auto &[setting, value] : rows) {
        ASSERT_TRUE(store().setValue(setting, value));
        EXPECT_EQ(restartedStore()->value(setting), value) << settingDefinition(setting).key;
    }
}

TEST_F(PreferencesTest, SetterRefusesAValueOfTheWrongTypeAndKeepsTheOldOne) {
    store().setRefreshRate(7);
    EXPECT_FALSE(store().setValue(Setting::RefreshRate, QString("soon")));
    EXPECT_FALSE(store().setValue(Setting::LastTimeCleaned, qint64(-5)));
    EXPECT_FALSE(store().setValue(kMonitored, QVariantList{QVariantMap{{"name", "no ID"}}}));
    EXPECT_EQ(restartedStore()->refreshRate(), 7);
}

constexpr Setting kRefresh = Setting::RefreshRate;
constexpr Setting kPeriod = Setting::AutoCleanEveryTime;

// A hand-edited file: whatever cannot be read as the key's type counts as
// absent, so the default applies (and write-back rows replace the garbage). An
// interval a timer cannot run (0 spins, too long wraps its int of
// milliseconds) is held to the nearest bound.
TEST_F(PreferencesTest, HandEditedValueInUseIsTheDefaultOrTheNearestBound) {
    const std::tuple<QByteArray, Setting, QVariant> rows[] = {
        {"refreshRate=soon", kRefresh, qint64(5)},
        {"showDockIcon=true, false", Setting::ShowDockIcon, false},
        {"FeedURL=download/appcast.xml", Setting::FeedURL, kStableFeed},
        {"bundleBuild=1, 2", Setting::BundleBuild, QVariant()},
        {"applicationsAndUtilitiesToMonitoring=@Variant(\\0\\0\\x7f", kMonitored, QVariant()},
        {"AppleLanguages=ru", kLanguages, QStringList{"ru"}},
        {"refreshRate=0", kRefresh, qint64(1)},
        {"refreshRate=-5", kRefresh, qint64(1)},
        {"refreshRate=2147484", kRefresh, qint64(2147483)},
        {"refreshRate=536870912", kRefresh, qint64(2147483)},  // wraps to 0 ms
        {"autoCleanEveryTime=0", kPeriod, qint64(1)},
        {"autoCleanEveryTime=134217728", kPeriod, qint64(35791)}};
    for (const auto &[line, setting, expected] : rows) {
        const QString path = writeFile("[General]\n" + line + "\n",
                                       QStringLiteral("edited-%1.conf").arg(++restarts_));
        EXPECT_EQ(makeStore(path)->value(setting), expected) << line.toStdString();
        if (settingDefinition(setting).rule == DefaultRule::WriteBack) {
            EXPECT_TRUE(restartedStore(path)->hasStoredValue(setting)) << line.toStdString();
        }
    }
}

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

using T = SettingType;

// Text as typed on the command line, through the same rules as the file; what
// is printed parses back to the same value. Events left out of a record are
// accepted.
TEST(SettingText, AcceptedTextsParseAndPrintBack) {
    const QVariantMap firefox{{"name", "Firefox"}, {"ID", "firefox.desktop"}, {"DidLaunch", true}};
    const std::tuple<SettingType, QString, QVariant> rows[] = {
        {T::Boolean, "true", true},
        {T::Boolean, "0", false},
        {T::Integer, "-3", qint64(-3)},
        {T::Integer, "9223372036854775807", qint64(INT64_MAX)},
        {T::UnsignedInteger, "18446744073709551615", quint64(UINT64_MAX)},
        {T::String, "120 beta", QString("120 beta")},
        {T::URL, "http://127.0.0.1:8080/download/appcast.xml",
         QUrl("http://127.0.0.1:8080/download/appcast.xml")},
        {T::StringList, "ru-RU, en", QStringList{"ru-RU", "en"}},
        {T::StringList, "", QStringList{}},
        {T::RecordList, R"([{"name":"Firefox","ID":"firefox.desktop","DidLaunch":true}])",
         QVariantList{firefox}},
        {T::RecordList, "[]", QVariantList{}}};
    for (const auto &[type, text, value] : rows) {
        EXPECT_EQ(settingValueFromText(type, text), value) << text.toStdString();
        const QString printed = settingValueToText(type, value);
        EXPECT_EQ(settingValueFromText(type, printed), value) << printed.toStdString();
    }
}

// Refused texts, with how the problem begins.
TEST(SettingText, RefusedTextsNameTheProblem) {
    const std::tuple<SettingType, QString, const char *> rows[] = {
        {T::Boolean, "yes", "expected "},
        {T::Integer, "9223372036854775808", "expected "},
        {T::Integer, "4.5", "expected "},
        {T::UnsignedInteger, "-1", "expected "},
        {T::UnsignedInteger, "18446744073709551616", "expected "},
        {T::URL, "download/appcast.xml", "expected "},
        {T::URL, "https://a b/", "expected "},
        {T::RecordList, R"([{"name":"Firefox"}])", R"(record 1 has no "ID" text)"},
        {T::RecordList, R"([{"name":"F","ID":"f"},{"name":"F","ID":"f","DidHide":"yes"}])",
         R"(record 2 has "DidHide" that is not true or false)"},
        {T::RecordList, R"([{"name":"A","ID":"a","icon":"a.png"}])",
         R"(record 1 has the unknown key "icon")"},
        {T::RecordList, R"({"name":"F","ID":"f"})", "not a JSON array of records"},
        {T::RecordList, "firefox", "not JSON ("}};
    for (const auto &[type, text, problem] : rows) {
        EXPECT_EQ(settingValueFromText(type, text), std::nullopt) << text.toStdString();
        EXPECT_TRUE(settingTextProblem(type, text).startsWith(problem)) << text.toStdString();
    }
}

// What a person may type beyond the type itself. 8 GiB installed puts the
// thresholds' limit at 4096 MB; a timer takes milliseconds as an int:
// 2147483647 ms is 2147483 s or 35791 min.
TEST(SettingRange, AcceptsOrDescribesTheRange) {
    const char *feedRule = "an https address of an update feed (http only to this machine)";
    const char *refreshRule = "a whole number from 1 to 2147483 seconds";
    const char *thresholdRule = "a whole number from 1 to 4096 MB";
    constexpr Setting kFree = Setting::AutoCleanByFreeSize;
    constexpr Setting kFeed = Setting::FeedURL;
    const std::tuple<Setting, QVariant, const char *> rows[] = {
        {Setting::StatusBarIconType, 4, nullptr},
        {Setting::StatusBarIconType, 5, "a whole number from 0 to 4"},
        {Setting::SelectedLanguage, 4, "a whole number from 0 to 3"},
        {kRefresh, 0, refreshRule},
        {kRefresh, 2147483, nullptr},
        {kRefresh, 2147484, refreshRule},
        {kPeriod, 35791, nullptr},
        {kPeriod, 0, "a whole number from 1 to 35791 minutes"},
        {kFree, 4096, nullptr},
        {Setting::AutoCleanByInactiveSize, 4097, thresholdRule},
        {kFree, 0, thresholdRule},
        {kFeed, QUrl("https://example.org/a.xml"), nullptr},
        {kFeed, QUrl("http://127.0.0.1:8931/a.xml"), nullptr},
        {kFeed, QUrl("http://example.org/a.xml"), feedRule},
        {kFeed, QUrl("http://127.example.org/"), feedRule},
        {kFeed, QUrl("file:///tmp/a.xml"), feedRule}};
    for (const auto &[setting, value, refusal] : rows) {
        EXPECT_EQ(outsideSettingRange(setting, value, 8 * kGiB),
                  refusal ? std::optional<QString>(refusal) : std::nullopt)
            << settingDefinition(setting).key << ' ' << value.toString().toStdString();
    }
    EXPECT_EQ(outsideSettingRange(kFree, 1, std::nullopt),
              "a whole number of MB up to half the installed memory, which is not known now");
}

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
