// The settings file as someone else may have left it, and values no timer can
// run on, through the real `tarnwell settings`.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "support/HostileEntries.h"

namespace tarnwell::testing {
namespace {

struct Outcome {
    bool finished;
    int exitCode;
    QByteArray out;
    QByteArray err;
};

class SettingsFolder {
public:
    SettingsFolder() { QDir(home_.path()).mkpath(".config/Tarnwell"); }

    std::string folder() const { return home_.filePath(".config/Tarnwell").toStdString(); }

    // A hang is a failure, not a stuck test run.
    Outcome settings(const QStringList &arguments) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home_.path());
        environment.remove("XDG_CONFIG_HOME");
        environment.insert("XDG_DATA_HOME", home_.filePath("data"));
        process.setProcessEnvironment(environment);
        process.start(TARNWELL_BINARY_DIR "/src/tarnwell", QStringList{"settings"} + arguments);
        const bool finished = process.waitForFinished(20'000);
        if (!finished) {
            process.kill();
            process.waitForFinished();
        }
        return {finished, process.exitCode(), process.readAllStandardOutput(),
                process.readAllStandardError()};
    }

private:
    QTemporaryDir home_;
};

class HostileSettingsFile : public ::testing::TestWithParam<HostileEntry> {};

TEST_P(HostileSettingsFile, NeverHangsNorWritesOutAndTheDefaultsApply) {
    if (!canPlace(GetParam())) {
        GTEST_SKIP() << "device nodes need root";
    }
    SettingsFolder home;
    QTemporaryDir outside;
    const std::string path =
        placeHostile(GetParam(), home.folder(), "Tarnwell.conf", "[General]\nrefreshRate=7\n",
                     outside.path().toStdString());
    const mode_t type = entryType(path);
    const mode_t target = targetType(path);
    const std::string foreign = outside.filePath("foreign-Tarnwell.conf").toStdString();

    const Outcome reading = home.settings({"refreshRate"});
    ASSERT_TRUE(reading.finished);
    EXPECT_EQ(reading.out, "5\n") << reading.err.toStdString();

    const Outcome writing = home.settings({"refreshRate", "9"});
    ASSERT_TRUE(writing.finished);
    EXPECT_EQ(entryType(path), type) << "the entry is left as it was";
    EXPECT_EQ(targetType(path), target) << "nothing is written through it";
    if (GetParam().kind == HostileKind::LinkOut) {
        QFile target(QString::fromStdString(foreign));
        ASSERT_TRUE(target.open(QIODevice::ReadOnly));
        EXPECT_EQ(target.readAll(), QByteArray("[General]\nrefreshRate=7\n") + kForeignBytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Entries, HostileSettingsFile, ::testing::ValuesIn(kHostileEntries),
                         hostileCaseName);

struct IntervalCase {
    const char *name;
    const char *key;
    const char *stored;
    const char *inUse;
};

class IntervalLimits : public ::testing::TestWithParam<IntervalCase> {};

// A timer takes milliseconds as an int: 2147483647 ms is 2147483 s or 35791 min.
TEST_P(IntervalLimits, ShowsTheValueInUse) {
    const IntervalCase &c = GetParam();
    SettingsFolder home;
    QFile file(QString::fromStdString(home.folder() + "/Tarnwell.conf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("[General]\n") + c.key + "=" + c.stored + "\n");
    file.close();
    const Outcome run = home.settings({c.key});
    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.out, QByteArray(c.inUse) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    BothEdges, IntervalLimits,
    ::testing::Values(
        IntervalCase{"RefreshZero", "refreshRate", "0", "1"},
        IntervalCase{"RefreshNegative", "refreshRate", "-5", "1"},
        IntervalCase{"RefreshShortest", "refreshRate", "1", "1"},
        IntervalCase{"RefreshLongest", "refreshRate", "2147483", "2147483"},
        IntervalCase{"RefreshPastLongest", "refreshRate", "2147484", "2147483"},
        IntervalCase{"RefreshWrapsToZero", "refreshRate", "536870912", "2147483"},
        IntervalCase{"RefreshLargest64Bit", "refreshRate", "9223372036854775807", "2147483"},
        IntervalCase{"CleaningZero", "autoCleanEveryTime", "0", "1"},
        IntervalCase{"CleaningLongest", "autoCleanEveryTime", "35791", "35791"},
        IntervalCase{"CleaningPastLongest", "autoCleanEveryTime", "134217728", "35791"}),
    [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tarnwell::testing
