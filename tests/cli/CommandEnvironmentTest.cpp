// The real executable where its output cannot be written and where the
// environment gives no usable folders.
#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace tarnwell::testing {
namespace {

struct Finished {
    int exitCode;
    QByteArray err;
};

Finished runTarnwell(const QStringList &arguments, const QProcessEnvironment &environment,
                     const QString &workingDirectory = {}, const QString &output = {}) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(workingDirectory);
    if (!output.isEmpty()) {
        process.setStandardOutputFile(output);
    }
    process.start(TARNWELL_BINARY_DIR "/src/tarnwell", arguments);
    EXPECT_TRUE(process.waitForFinished(20'000));
    return {process.exitCode(), process.readAllStandardError()};
}

class UnwritableOutput : public ::testing::TestWithParam<QStringList> {};

TEST_P(UnwritableOutput, FailsAndSaysWhy) {
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home.path());
    environment.remove("XDG_CONFIG_HOME");
    environment.remove("XDG_DATA_HOME");
    const Finished run = runTarnwell(GetParam(), environment, {}, "/dev/full");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("cannot write the output: No space left on device"))
        << run.err.toStdString();
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
    QTemporaryDir home, workingDirectory;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("HOME");
    if (c.home != nullptr) {
        environment.insert("HOME", QString(c.home) == "@" ? home.path() : c.home);
    }
    for (const char *variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
        environment.insert(variable, "relative");
    }
    const Finished run =
        runTarnwell({"settings", "refreshRate", "7"}, environment, workingDirectory.path());
    EXPECT_EQ(run.exitCode, c.starts ? 0 : 1) << run.err.toStdString();
    EXPECT_EQ(run.err.contains("no home folder"), !c.starts);
    EXPECT_TRUE(QDir(workingDirectory.path()).isEmpty());
    EXPECT_EQ(QFile::exists(home.filePath(".config/Tarnwell/Tarnwell.conf")), c.starts);
}

INSTANTIATE_TEST_SUITE_P(Environments, UserFolders,
                         ::testing::Values(FolderCase{"RelativeFolders", "@", true},
                                           FolderCase{"NoHome", nullptr, false},
                                           FolderCase{"EmptyHome", "", false},
                                           FolderCase{"RelativeHome", "home", false}),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tarnwell::testing
