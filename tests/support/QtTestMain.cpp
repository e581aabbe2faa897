#include <gtest/gtest.h>
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

// The main of every test that needs a Qt application: the controller hands
// cleanings back through the event loop, icons are drawn with QPainter and
// windows are widgets. An offscreen display and a private runtime folder keep
// everything away from the user's desktop.
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
