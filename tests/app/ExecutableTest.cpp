// The real executable in a throw-away home: console mode ended by a signal as
// a user would, commands on captured machines (TARNWELL_MEMORY_ROOT), and
// environments that give it no usable output or folders.
#include <sys/stat.h>

#include <filesystem>

#include <QRegularExpression>
#include <QSettings>

#include "QtPrinters.h"
#include "ThrowAwayRun.h"
#include "memory/CleaningLock.h"

namespace tarnwell::testing {
namespace {

namespace fs = std::filesystem;

// 23 GiB free, exact, where the record's 32-bit byte figure wraps to 3.01 GB.
const fs::path kCapture = TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap";

// The status line is the default text: free memory as a size, after the time
// of day. Standard error says once that Ctrl-C quits, and with a display that
// cannot be opened, why (a stale DISPLAY once made Qt abort with status 134
// and leave a crash report).
TEST(ConsoleMode, PrintsStatusLinesAndEndsCleanlyOnSignal) {
    const std::tuple<QStringList, bool, int, const char *> starts[] = {
        {{"--console"}, true, SIGINT, "Tarnwell"},
        {{}, false, SIGTERM, "Tarnwell"},
        {{}, true, SIGINT, "cannot open display ':9999'; "}};
    for (const auto &[arguments, withDisplay, stopSignal, notice] : starts) {
        SCOPED_TRACE(notice);
        ThrowAwayRun run;
        run.env.insert("TARNWELL_MEMORY_ROOT", QString::fromStdString(kCapture.string()));
        if (withDisplay) {
            run.env.insert("DISPLAY", ":9999");  // no server there
            run.env.remove("QT_QPA_PLATFORM");   // as on a desktop: Qt would try it
        }
        run.start(arguments);
        while (!run.process.canReadLine()) {
            ASSERT_TRUE(run.process.waitForReadyRead(30000));
        }
        const QString line = QString::fromLocal8Bit(run.process.readLine()).trimmed();
        EXPECT_TRUE(QRegularExpression(R"(^\d\d:\d\d:\d\d  23\.01 GB$)").match(line).hasMatch())
            << line.toStdString();

        run.stopWith(stopSignal);
        const QList<QByteArray> errors = run.process.readAllStandardError().trimmed().split('\n');
        ASSERT_EQ(errors.size(), 1) << errors.join('\n').toStdString();
        EXPECT_TRUE(errors[0].contains(notice)) << errors[0].toStdString();
        EXPECT_TRUE(errors[0].endsWith("Ctrl-C quits.")) << errors[0].toStdString();
        EXPECT_TRUE(QFile::exists(run.settingsFile()));
    }
}

TEST(ConsoleOptions, UnknownOptionIsAUsageError) {
    ThrowAwayRun run;
    const ThrowAwayRun::Finished finished = run.finish({"--console", "--bogus"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_TRUE(finished.err.contains("unknown option '--bogus'")) << finished.err.toStdString();
    EXPECT_EQ(finished.out, "");
}

// The capture made into a machine on which a cleaning touches 4 MiB: 1 GiB
// installed (a 256 MiB reserve), 4 MiB free, 260 MiB available.
const QString kSmallMachine = TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap-1gib";

// A missing meminfo and a fifo in its place: each memory command fails,
// naming the file and why, with nothing on stdout.
TEST(UnreadableMemory, CommandsSayWhichFileAndWhy) {
    for (const bool fifo : {false, true}) {
        ThrowAwayRun run;
        const QString root = run.home.filePath("machine"), meminfo = root + "/proc/meminfo";
        fs::copy(kCapture, root.toStdString(), fs::copy_options::recursive);
        fs::remove(meminfo.toStdString());
        run.env.insert("TARNWELL_MEMORY_ROOT", root);
        if (fifo) {
            ASSERT_EQ(mkfifo(meminfo.toLocal8Bit().constData(), 0600), 0);
        }
        const ThrowAwayRun::Finished finished =
            run.finish(fifo ? QStringList{"clean", "--json"} : QStringList{"stats"});
        EXPECT_EQ(finished.status, 1);
        EXPECT_EQ(finished.err, "tarnwell: Memory figures unavailable: " + meminfo +
                                    (fifo ? ": not a regular file\n"
                                          : ": cannot open: No such file or directory\n"));
        EXPECT_EQ(finished.out, "");
    }
}

// This test holds the user's cleaning lock as another Tarnwell would.
TEST(CleaningLockAcrossProcesses, SecondCleaningIsRefusedWhileOneRuns) {
    ThrowAwayRun refused;
    refused.env.insert("TARNWELL_MEMORY_ROOT", kSmallMachine);
    CleaningLock held(refused.env.value("XDG_RUNTIME_DIR").toStdString() +
                      "/tarnwell-cleaning.lock");
    ASSERT_TRUE(held.tryLock());
    const ThrowAwayRun::Finished whileHeld = refused.finish({"clean"});
    EXPECT_EQ(whileHeld.status, 1);
    EXPECT_EQ(whileHeld.out, "Memory was not cleaned: a cleaning is already running.\n");

    held.unlock();
    const ThrowAwayRun::Finished afterwards = refused.finish({"clean", "--json"});
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
        run.env.insert("TARNWELL_MEMORY_ROOT", kSmallMachine);
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

TEST(UnwritableOutput, FailsAndSaysWhy) {
    for (const QStringList &arguments :
         {QStringList{"stats", "--json"}, QStringList{"stats"}, QStringList{"settings"},
          QStringList{"crash-reports", "--json"}, QStringList{"--version"}}) {
        ThrowAwayRun run;
        run.process.setStandardOutputFile("/dev/full");
        const ThrowAwayRun::Finished finished = run.finish(arguments);
        EXPECT_EQ(finished.status, 1) << arguments.join(' ').toStdString();
        EXPECT_TRUE(finished.err.contains("cannot write the output: No space left on device"))
            << finished.err.toStdString();
    }
}

// Relative folder variables are ignored (XDG base directory rules), so nothing
// lands in the working directory; without a home (unset, empty or relative)
// the program does not start.
TEST(UserFolders, NothingLandsOutsideTheHomeFolder) {
    // Null: no HOME at all; "@": the run's own home folder.
    for (const char *home : std::initializer_list<const char *>{"@", nullptr, "", "home"}) {
        ThrowAwayRun run;
        QTemporaryDir workingDirectory;
        const bool starts = home != nullptr && QString(home) == "@";
        run.env.remove("HOME");
        if (home != nullptr) {
            run.env.insert("HOME", starts ? run.home.path() : home);
        }
        for (const char *variable :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            run.env.insert(variable, "relative");
        }
        run.process.setWorkingDirectory(workingDirectory.path());
        const ThrowAwayRun::Finished finished = run.finish({"settings", "refreshRate", "7"});
        EXPECT_EQ(finished.status, starts ? 0 : 1) << finished.err.toStdString();
        EXPECT_EQ(finished.err.contains("no home folder"), !starts) << finished.err.toStdString();
        EXPECT_TRUE(QDir(workingDirectory.path()).isEmpty());
        EXPECT_EQ(QFile::exists(run.home.filePath(".config/Tarnwell/Tarnwell.conf")), starts);
    }
}

}  // namespace
}  // namespace tarnwell::testing
