// Console mode end to end: the real executable, its status lines read from
// the pipe, ended by a signal as a user would.
#include <QRegularExpression>

#include "CaseName.h"
#include "ThrowAwayRun.h"

namespace tarnwell::testing {
namespace {

struct ConsoleCase {
    const char *name;
    QStringList arguments;
    bool withDisplay;
    int stopSignal;
    // Said once on standard error; with a display that cannot be opened, why.
    const char *notice;
};

class ConsoleMode : public ::testing::TestWithParam<ConsoleCase> {};

TEST_P(ConsoleMode, PrintsStatusLinesAndEndsCleanlyOnSignal) {
    const ConsoleCase &c = GetParam();
    ThrowAwayRun run;
    // 23 GiB free, exact, where the record's 32-bit byte figure wraps to 3.01 GB.
    run.env.insert("TARNWELL_MEMORY_ROOT", TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap");
    if (c.withDisplay) {
        run.env.insert("DISPLAY", ":9999");  // no server there
        run.env.remove("QT_QPA_PLATFORM");   // as on a desktop: Qt would try it
    }
    run.start(c.arguments);

    // The default text: free memory as a size, after the time of day.
    while (!run.process.canReadLine()) {
        ASSERT_TRUE(run.process.waitForReadyRead(30000));
    }
    const QString line = QString::fromLocal8Bit(run.process.readLine()).trimmed();
    EXPECT_TRUE(QRegularExpression(R"(^\d\d:\d\d:\d\d  23\.01 GB$)").match(line).hasMatch())
        << line.toStdString();

    run.stopWith(c.stopSignal);
    const QList<QByteArray> errors = run.process.readAllStandardError().trimmed().split('\n');
    ASSERT_EQ(errors.size(), 1) << errors.join('\n').toStdString();
    EXPECT_TRUE(errors[0].contains(c.notice)) << errors[0].toStdString();
    EXPECT_TRUE(errors[0].endsWith("Ctrl-C quits.")) << errors[0].toStdString();
    EXPECT_TRUE(QFile::exists(run.settingsFile()));
}

INSTANTIATE_TEST_SUITE_P(
    Starts, ConsoleMode,
    ::testing::Values(
        ConsoleCase{"ConsoleOptionInterrupted", {"--console"}, true, SIGINT, "Tarnwell"},
        ConsoleCase{"NoDisplayTerminated", {}, false, SIGTERM, "Tarnwell"},
        // A stale DISPLAY once made Qt abort (status 134) and leave a crash report.
        ConsoleCase{"StaleDisplayInterrupted", {}, true, SIGINT, "cannot open display ':9999'; "}),
    test::caseName);

TEST(ConsoleOptions, UnknownOptionIsAUsageError) {
    ThrowAwayRun run;
    run.start({"--console", "--bogus"});
    ASSERT_TRUE(run.process.waitForFinished(30000));
    EXPECT_EQ(run.process.exitCode(), 2);
    EXPECT_TRUE(run.process.readAllStandardError().contains("unknown option '--bogus'"));
    EXPECT_TRUE(run.process.readAllStandardOutput().isEmpty());
}

}  // namespace
}  // namespace tarnwell::testing
