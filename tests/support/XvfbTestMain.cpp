#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include "XvfbDisplay.h"

extern char **environ;

// The main of the tests that need real X windows: an Xvfb and an openbox of
// the test's own. The application is made only once openbox has finished
// starting (it runs the startup command then), so the first window is
// already managed.
int main(int argc, char **argv) {
    tarnwell::test::XvfbDisplay display;
    if (display.display().empty()) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return 1;
    }
    QTemporaryDir marks;
    const QString started = marks.filePath("openbox-started");
    std::string startup = "touch '" + started.toStdString() + "'";
    char openbox[] = "openbox", noSession[] = "--sm-disable", startupOption[] = "--startup";
    char *arguments[] = {openbox, noSession, startupOption, startup.data(), nullptr};
    pid_t windowManager = -1;
    if (::posix_spawnp(&windowManager, openbox, nullptr, nullptr, arguments, environ) != 0) {
        std::fprintf(stderr, "openbox did not start\n");
        return 1;
    }
    for (int waited = 0; !QFile::exists(started) && waited < 30'000; waited += 20) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // The web engine's helpers refuse to run as root with their sandbox.
    if (::geteuid() == 0) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    int result = 1;
    {
        QApplication application(argc, argv);
        ::testing::InitGoogleTest(&argc, argv);
        result = RUN_ALL_TESTS();
    }
    ::kill(windowManager, SIGTERM);
    ::waitpid(windowManager, nullptr, 0);
    return result;
}
