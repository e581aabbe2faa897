#include <gtest/gtest.h>
#include <QApplication>

// Widgets on the offscreen platform: nothing reaches the desktop the tests
// run in.
int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
