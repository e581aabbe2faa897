#include <gtest/gtest.h>

#include <QApplication>

#include "VirtualDesktop.h"

// The main of the tests that need real X windows: an Xvfb and an openbox of
// the test's own. The application is made only once openbox has finished
// starting, so the first window is already managed; it goes before them.
int main(int argc, char **argv) {
    tarnwell::test::VirtualDesktop desktop;
    if (!desktop.ready()) {
        std::fprintf(stderr, "Xvfb or openbox did not start\n");
        return 1;
    }
    // The web engine's helpers refuse to run as root with their sandbox.
    if (::geteuid() == 0) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
