#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

namespace tarnwell::test {
namespace {

struct Outcome {
    int exitCode;
    QString out;
    QString err;
};

// Runs the real executable against a settings folder of its own.
class SettingsCommandTest : public ::testing::Test {
protected:
    Outcome run(const QStringList &arguments) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", config_.path());
        environment.remove("TARNWELL_SITE_URL");
        process.setProcessEnvironment(environment);
        process.start(TARNWELL_BINARY_DIR "/src/tarnwell", QStringList{"settings"} + arguments);
        EXPECT_TRUE(process.waitForFinished(30'000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    QString settingsFile() const { return config_.filePath("Tarnwell/Tarnwell.conf"); }

    QTemporaryDir config_;
};

struct Refusal {
    const char *name;
    QStringList arguments;
    const char *message;
};

class SettingsRefusalTest : public SettingsCommandTest,
                            public ::testing::WithParamInterface<Refusal> {};

TEST_P(SettingsRefusalTest, ExitsWithUsageErrorAndChangesNothing) {
    const Outcome result = run(GetParam().arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_TRUE(result.err.contains(GetParam().message)) << result.err.toStdString();
    EXPECT_EQ(result.err.count('\n'), 1) << "one line";
    EXPECT_FALSE(QFile::exists(settingsFile()) && QFileInfo(settingsFile()).size() > 0);
}

INSTANTIATE_TEST_SUITE_P(
    BadInput, SettingsRefusalTest,
    ::testing::Values(
        Refusal{"UnknownKey", {"refreshrate", "5"}, "no setting is called 'refreshrate'"},
        Refusal{"WordForNumber", {"refreshRate", "fast"}, "expected a whole number"},
        Refusal{"TooManyArguments", {"refreshRate", "5", "6"}, "too many arguments"},
        Refusal{"UnknownOption", {"--purge"}, "unknown option '--purge'"},
        Refusal{"ListNotJson", {"applicationsAndUtilitiesToMonitoring", "[{"}, ": not JSON ("},
        Refusal{"RecordWithoutID",
                {"applicationsAndUtilitiesToMonitoring", R"([{"name":"Files"}])"},
                R"(: record 1 has no "ID" text)"},
        Refusal{"RecordWithIcon",
                {"applicationsAndUtilitiesToMonitoring",
                 R"([{"name":"A","ID":"a.desktop"},{"name":"B","ID":"b","icon":"b.png"}])"},
                R"(: record 2 has the unknown key "icon")"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(SettingsCommandTest, ListingWritesBackDefaultsAndMarksTheOthers) {
    const Outcome result = run({});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QRegularExpression("\nrefreshRate +5\n")));
    EXPECT_TRUE(result.out.contains(
        QRegularExpression("\nshowDockIcon +false \\(default, not stored\\)\n")));
    EXPECT_TRUE(result.out.contains(QRegularExpression("\nAppleLanguages +\\(none\\)\n")));
    QSettings file(settingsFile(), QSettings::IniFormat);
    EXPECT_EQ(file.value("refreshRate").toString(), "5");
    EXPECT_FALSE(file.contains("showDockIcon"));
}

TEST_F(SettingsCommandTest, ValueSetIsWhatTheNextRunReads) {
    EXPECT_EQ(run({"statusBarIcon", "4"}).out, "statusBarIcon = 4\n");
    EXPECT_EQ(run({"AppleLanguages", "ukr, en"}).exitCode, 0);
    EXPECT_EQ(run({"statusBarIcon"}).out, "4\n");
    EXPECT_EQ(run({"AppleLanguages"}).out, "ukr,en\n");
}

TEST_F(SettingsCommandTest, MonitoredListRoundTripsAsJsonAndABadOneKeepsIt) {
    const QString list =
        R"([{"DidActivate":true,"DidLaunch":false,"ID":"org.gnome.TextEditor.desktop",)"
        R"("name":"Текст"}])";
    ASSERT_EQ(run({"applicationsAndUtilitiesToMonitoring", list}).exitCode, 0);
    const Outcome refused = run({"applicationsAndUtilitiesToMonitoring",
                                 R"([{"name":"B","ID":"b.desktop","DidHide":"yes"}])"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(refused.err.contains(R"(record 1 has "DidHide" that is not true or false)"))
        << refused.err.toStdString();
    EXPECT_EQ(run({"applicationsAndUtilitiesToMonitoring"}).out, list + "\n");
}

TEST_F(SettingsCommandTest, ResetNamesAndRemovesWhatIsStored) {
    run({"refreshRate", "9"});
    const Outcome result = run({"--reset"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.endsWith(":\n  refreshRate\n")) << result.out.toStdString();
    EXPECT_EQ(run({"refreshRate"}).out, "5\n");
}

TEST_F(SettingsCommandTest, UnwritableFileFailsWithOneMessage) {
    ASSERT_TRUE(QDir(config_.path()).mkpath("Tarnwell/Tarnwell.conf"));
    const Outcome result = run({"refreshRate", "9"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.count("cannot write the settings file"), 1) << result.err.toStdString();
}

}  // namespace
}  // namespace tarnwell::test
