#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "app/ThrowAwayRun.h"
#include "support/HostileEntries.h"

namespace tarnwell::test {
namespace {

struct Outcome {
    int exitCode;
    QString out;
    QString err;
};

// Runs the real executable's settings command, every run in the same
// throw-away home.
class SettingsCommandTest : public ::testing::Test {
protected:
    SettingsCommandTest() { home_.env.remove("TARNWELL_SITE_URL"); }
    Outcome run(const QStringList &arguments) {
        home_.start(QStringList{"settings"} + arguments);
        EXPECT_TRUE(home_.process.waitForFinished(30'000));
        return {home_.process.exitCode(), QString::fromUtf8(home_.process.readAllStandardOutput()),
                QString::fromUtf8(home_.process.readAllStandardError())};
    }
    QString settingsFile() const { return home_.settingsFile(); }
    QString settingsFolder() const { return QFileInfo(settingsFile()).path(); }

    testing::ThrowAwayRun home_;
};

TEST_F(SettingsCommandTest, RefusalsExitWithUsageErrorAndChangeNothing) {
    const std::pair<QStringList, const char *> rows[] = {
        {{"refreshrate", "5"}, "no setting is called 'refreshrate'"},
        {{"refreshRate", "5", "6"}, "too many arguments"},
        {{"--purge"}, "unknown option '--purge'"},
        {{"refreshRate", "fast"},
         "'fast' is not a valid value for refreshRate: expected a whole number"},
        {{"statusBarIcon", "5"},
         "5 is out of range for statusBarIcon: expected a whole number from 0 to 4"},
        {{"autoCleanByInactiveSize", "9223372036854775807"},
         "out of range for autoCleanByInactiveSize"}};
    for (const auto &[arguments, message] : rows) {
        const Outcome result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << message;
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
        EXPECT_TRUE(result.err.contains(message)) << result.err.toStdString();
        EXPECT_EQ(result.err.count('\n'), 1) << "one line: " << message;
        EXPECT_FALSE(QFile::exists(settingsFile()) && QFileInfo(settingsFile()).size() > 0)
            << message;
    }
}

// Each step is a run of its own, so a value is what the next run reads.
TEST_F(SettingsCommandTest, ValuesAreListedSetReadAndReset) {
    const Outcome listing = run({});
    ASSERT_EQ(listing.exitCode, 0) << listing.err.toStdString();
    EXPECT_TRUE(listing.out.contains(QRegularExpression("\nrefreshRate +5\n")));
    EXPECT_TRUE(listing.out.contains(
        QRegularExpression("\nshowDockIcon +false \\(default, not stored\\)\n")));
    EXPECT_TRUE(listing.out.contains(QRegularExpression("\nAppleLanguages +\\(none\\)\n")));

    EXPECT_EQ(run({"statusBarIcon", "4"}).out, "statusBarIcon = 4\n");
    EXPECT_EQ(run({"AppleLanguages", "ukr, en"}).exitCode, 0);
    EXPECT_EQ(run({"statusBarIcon"}).out, "4\n");
    EXPECT_EQ(run({"AppleLanguages"}).out, "ukr,en\n");

    const Outcome reset = run({"--reset"});
    EXPECT_EQ(reset.exitCode, 0);
    for (const char *stored : {"\n  AppleLanguages\n", "\n  statusBarIcon\n"}) {
        EXPECT_TRUE(reset.out.contains(stored)) << reset.out.toStdString();
    }
    EXPECT_EQ(run({"statusBarIcon"}).out, "3\n");
}

TEST_F(SettingsCommandTest, UnwritableFileFailsWithOneMessage) {
    ASSERT_TRUE(QDir().mkpath(settingsFile()));
    const Outcome result = run({"refreshRate", "9"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.count("cannot write the settings file"), 1) << result.err.toStdString();
}

// The settings file as someone else may have left it: no hang, nothing written
// through it or outside the folder, the defaults in use.
class HostileSettingsFile : public SettingsCommandTest,
                            public ::testing::WithParamInterface<testing::HostileEntry> {};

TEST_P(HostileSettingsFile, IsLeftAloneAndTheDefaultsApply) {
    using namespace testing;
    if (!canPlace(GetParam())) {
        GTEST_SKIP() << "device nodes need root";
    }
    QTemporaryDir outside;
    QDir().mkpath(settingsFolder());
    const std::string path =
        placeHostile(GetParam(), settingsFolder().toStdString(), "Tarnwell.conf",
                     "[General]\nrefreshRate=7\n", outside.path().toStdString());
    const auto types = [&] { return std::pair(entryType(path), targetType(path)); };
    const auto before = types();
    EXPECT_EQ(run({"refreshRate"}).out, "5\n");
    run({"refreshRate", "9"});
    EXPECT_EQ(types(), before) << "nothing is written through the entry";
    for (const QString &name : QDir(outside.path()).entryList(QDir::Files)) {
        QFile foreign(outside.filePath(name));
        ASSERT_TRUE(foreign.open(QIODevice::ReadOnly));
        EXPECT_EQ(foreign.readAll(), QByteArray("[General]\nrefreshRate=7\n") + kForeignBytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Entries, HostileSettingsFile,
                         ::testing::ValuesIn(testing::kHostileEntries), testing::hostileCaseName);

}  // namespace
}  // namespace tarnwell::test
