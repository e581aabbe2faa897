#include <QGuiApplication>

#include <gtest/gtest.h>

// The controller hands cleanings back through the event loop and draws with
// QPainter, so every test runs inside a (display-less) application.
int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
