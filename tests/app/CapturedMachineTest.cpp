// The real executable on captured machines (TARNWELL_MEMORY_ROOT): a command
// says why when the memory file cannot be read, cleanings stay one at a time
// across processes, and the console quits cleanly in the middle of one.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include <QRegularExpression>
#include <QSettings>

#include "CaseName.h"
#include "ThrowAwayRun.h"
#include "memory/CleaningLock.h"

namespace tarnwell::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kCapture = TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap";

// The capture's meminfo made into a machine on which a cleaning touches
// 4 MiB: 1 GiB installed (a 256 MiB reserve), 4 MiB free, 260 MiB available.
std::string smallMachine() {
    std::ifstream in(kCapture / "proc/meminfo");
    QString text = QString::fromStdString(std::string(std::istreambuf_iterator<char>(in), {}));
    for (const auto &[key, kib] : {std::pair{"MemTotal", 1048576},
                                   {"MemFree", 4096},
                                   {"MemAvailable", 266240},
                                   {"Inactive", 4096}}) {
        text.replace(QRegularExpression(QStringLiteral("^%1:\\s+\\d+ kB$").arg(key),
                                        QRegularExpression::MultilineOption),
                     QStringLiteral("%1: %2 kB").arg(key).arg(kib));
    }
    return text.toStdString();
}

// A copy of the capture in the run's home with the given meminfo (none: the
// file is missing), which the program is pointed at.
void useMachine(ThrowAwayRun &run, const std::optional<std::string> &meminfo) {
    const fs::path root = run.home.filePath("machine").toStdString();
    fs::copy(kCapture, root, fs::copy_options::recursive);
    fs::remove(root / "proc/meminfo");
    if (meminfo) {
        std::ofstream(root / "proc/meminfo") << *meminfo;
    }
    run.env.insert("TARNWELL_MEMORY_ROOT", QString::fromStdString(root.string()));
}

struct Finished {
    int status;
    QString out;
    QString err;
};

Finished runToEnd(ThrowAwayRun &run, const QStringList &arguments) {
    run.env.insert("LC_ALL", "C.UTF-8");
    run.start(arguments);
    EXPECT_TRUE(run.process.waitForFinished(30000));
    return {run.process.exitCode(), QString::fromUtf8(run.process.readAllStandardOutput()),
            QString::fromUtf8(run.process.readAllStandardError())};
}

struct UnreadableCase {
    const char *name;
    bool fifo;  // otherwise missing
    const char *reason;
};

class UnreadableMemory : public ::testing::TestWithParam<UnreadableCase> {};

// The command fails, naming the file and why; nothing on stdout.
TEST_P(UnreadableMemory, CommandSaysWhichFileAndWhy) {
    const UnreadableCase &c = GetParam();
    ThrowAwayRun run;
    useMachine(run, std::nullopt);
    const QString meminfo = run.env.value("TARNWELL_MEMORY_ROOT") + "/proc/meminfo";
    if (c.fifo) {
        ASSERT_EQ(mkfifo(meminfo.toLocal8Bit().constData(), 0600), 0);
    }
    const Finished finished = runToEnd(run, {"stats"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.err, QStringLiteral("tarnwell: Memory figures unavailable: %1: %2\n")
                                .arg(meminfo, QString::fromLatin1(c.reason)));
    EXPECT_EQ(finished.out, "");
}

INSTANTIATE_TEST_SUITE_P(Meminfo, UnreadableMemory,
                         ::testing::Values(UnreadableCase{"Missing", false,
                                                          "cannot open: No such file or directory"},
                                           UnreadableCase{"Fifo", true, "not a regular file"}),
                         test::caseName);

// This test holds the user's cleaning lock as another Tarnwell would.
TEST(CleaningLockAcrossProcesses, SecondCleaningIsRefusedWhileOneRuns) {
    ThrowAwayRun refused;
    useMachine(refused, smallMachine());
    CleaningLock held(refused.env.value("XDG_RUNTIME_DIR").toStdString() +
                      "/tarnwell-cleaning.lock");
    ASSERT_TRUE(held.tryLock());
    const Finished whileHeld = runToEnd(refused, {"clean"});
    EXPECT_EQ(whileHeld.status, 1);
    EXPECT_EQ(whileHeld.out, "Memory was not cleaned: a cleaning is already running.\n");

    held.unlock();
    refused.process.setProcessEnvironment(refused.env);
    const Finished afterwards = runToEnd(refused, {"clean", "--json"});
    EXPECT_EQ(afterwards.status, 0) << afterwards.out.toStdString();
    EXPECT_TRUE(afterwards.out.contains(R"("blockBytes":4194304,)"))
        << afterwards.out.toStdString();
}

// Free memory stays below the threshold, so threshold cleanings follow one
// another without pause: the signal lands while one is in flight. Both
// signals take the same way out; three tries give the race its chances.
TEST(QuitMidClean, EndsWithStatusZero) {
    for (const int signal : {SIGTERM, SIGINT, SIGTERM}) {
        ThrowAwayRun run;
        useMachine(run, smallMachine());
        {
            QSettings settings(run.settingsFile(), QSettings::IniFormat);
            settings.setValue("autoCleanByFreeSizeChecked", true);
            settings.setValue("autoCleanByFreeSize", 1024);
        }
        run.start({"--console"});
        for (int lines = 0; lines < 10;) {
            if (run.process.canReadLine()) {
                run.process.readLine();
                ++lines;
            } else {
                ASSERT_TRUE(run.process.waitForReadyRead(30000));
            }
        }
        run.stopWith(signal);
    }
}

}  // namespace
}  // namespace tarnwell::testing
