#include <QCoreApplication>

#include <gtest/gtest.h>

// Network replies, child processes and descriptors all report through the
// event loop.
int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
