#include <gtest/gtest.h>
#include <QApplication>

// The updater's windows and its network both need an application object; the
// windows draw offscreen.
int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
