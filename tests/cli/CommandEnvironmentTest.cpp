// The real executable where its output cannot be written and where the
// environment gives no usable folders.
#include "../app/ThrowAwayRun.h"
#include "CaseName.h"

namespace tarnwell::testing {
namespace {

// Runs the executable to its end; what it said on standard error.
QByteArray finish(ThrowAwayRun &run, const QStringList &arguments) {
    run.start(arguments);
    EXPECT_TRUE(run.process.waitForFinished(20'000));
    return run.process.readAllStandardError();
}

class UnwritableOutput : public ::testing::TestWithParam<QStringList> {};

TEST_P(UnwritableOutput, FailsAndSaysWhy) {
    ThrowAwayRun run;
    run.process.setStandardOutputFile("/dev/full");
    const QByteArray err = finish(run, GetParam());
    EXPECT_EQ(run.process.exitCode(), 1);
    EXPECT_TRUE(err.contains("cannot write the output: No space left on device"))
        << err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Commands, UnwritableOutput,
    ::testing::Values(QStringList{"stats", "--json"}, QStringList{"stats"}, QStringList{"settings"},
                      QStringList{"crash-reports", "--json"}, QStringList{"--version"}),
    [](const auto &info) { return info.param.join("").remove('-').toStdString(); });

struct FolderCase {
    const char *name;
    const char *home;  // nullptr: unset; "@": the test's home folder
    bool starts;
};

class UserFolders : public ::testing::TestWithParam<FolderCase> {};

// Relative folder variables are ignored (XDG base directory rules), so nothing
// lands in the working directory; without a home the program does not start.
TEST_P(UserFolders, NothingLandsOutsideTheHomeFolder) {
    const FolderCase &c = GetParam();
    ThrowAwayRun run;
    QTemporaryDir workingDirectory;
    run.env.remove("HOME");
    if (c.home != nullptr) {
        run.env.insert("HOME", QString(c.home) == "@" ? run.home.path() : c.home);
    }
    for (const char *variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
        run.env.insert(variable, "relative");
    }
    run.process.setWorkingDirectory(workingDirectory.path());
    const QByteArray err = finish(run, {"settings", "refreshRate", "7"});
    EXPECT_EQ(run.process.exitCode(), c.starts ? 0 : 1) << err.toStdString();
    EXPECT_EQ(err.contains("no home folder"), !c.starts);
    EXPECT_TRUE(QDir(workingDirectory.path()).isEmpty());
    EXPECT_EQ(QFile::exists(run.home.filePath(".config/Tarnwell/Tarnwell.conf")), c.starts);
}

INSTANTIATE_TEST_SUITE_P(Environments, UserFolders,
                         ::testing::Values(FolderCase{"RelativeFolders", "@", true},
                                           FolderCase{"NoHome", nullptr, false},
                                           FolderCase{"EmptyHome", "", false},
                                           FolderCase{"RelativeHome", "home", false}),
                         tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::testing
