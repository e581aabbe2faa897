#include <gtest/gtest.h>
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

// Runs under its own dbus-run-session (see CMakeLists.txt) with an offscreen
// display and a private runtime folder, so nothing reaches the user's desktop.
int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir runtimeDirectory;
    QFile::setPermissions(runtimeDirectory.path(),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtimeDirectory.path().toLocal8Bit());
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
