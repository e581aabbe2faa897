// Console mode end to end: the real executable in a throw-away home, its
// status lines read from the pipe, ended by a signal as a user would.
#include <csignal>

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct ConsoleCase {
    const char *name;
    QStringList arguments;
    bool withDisplay;
    int stopSignal;
};

class ConsoleMode : public ::testing::TestWithParam<ConsoleCase> {
protected:
    void SetUp() override {
        ASSERT_TRUE(home.isValid());
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", home.path());
        env.insert("XDG_CONFIG_HOME", home.filePath("config"));
        env.insert("XDG_DATA_HOME", home.filePath("data"));
        env.insert("XDG_CACHE_HOME", home.filePath("cache"));
        // Usage events stay on this machine: nothing listens on the discard port.
        env.insert("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/events");
        // 23 GiB free, which the record's 32-bit byte figure wraps to 3.01 GB.
        env.insert("TARNWELL_MEMORY_ROOT", TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap");
        env.remove("WAYLAND_DISPLAY");
        env.remove("DISPLAY");
        if (GetParam().withDisplay) {
            // Never opened: --console must not even try.
            env.insert("DISPLAY", ":9999");
        }
        process.setProcessEnvironment(env);
        process.setProgram(QStringLiteral(TARNWELL_BINARY_DIR "/src/tarnwell"));
    }

    void TearDown() override {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }

    // The next complete line of standard output; empty when the process ended.
    QString nextLine() {
        while (!process.canReadLine()) {
            if (!process.waitForReadyRead(30000)) {
                return {};
            }
        }
        return QString::fromLocal8Bit(process.readLine()).trimmed();
    }

    QTemporaryDir home;
    QProcess process;
};

TEST_P(ConsoleMode, PrintsStatusLinesAndEndsCleanlyOnSignal) {
    const ConsoleCase &c = GetParam();
    process.setArguments(c.arguments);
    process.start();
    ASSERT_TRUE(process.waitForStarted());

    // The default text: free memory as a size, after the time of day.
    static const QRegularExpression statusLine(QStringLiteral(R"(^\d\d:\d\d:\d\d  3\.01 GB$)"));
    const QString line = nextLine();
    EXPECT_TRUE(statusLine.match(line).hasMatch()) << line.toStdString();

    ASSERT_EQ(::kill(pid_t(process.processId()), c.stopSignal), 0);
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardError().contains("Ctrl-C quits"));
    // The settings went to the throw-away home, not the user's.
    EXPECT_TRUE(QFile::exists(home.filePath("config/Tarnwell/Tarnwell.conf")));
}

INSTANTIATE_TEST_SUITE_P(
    Starts, ConsoleMode,
    ::testing::Values(ConsoleCase{"ConsoleOptionInterrupted", {"--console"}, true, SIGINT},
                      ConsoleCase{"NoDisplayTerminated", {}, false, SIGTERM}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ConsoleOptions, UnknownOptionIsAUsageError) {
    QProcess process;
    process.start(QStringLiteral(TARNWELL_BINARY_DIR "/src/tarnwell"), {"--console", "--bogus"});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_TRUE(process.readAllStandardError().contains("unknown option '--bogus'"));
    EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
}

}  // namespace
