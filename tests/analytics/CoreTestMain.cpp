// The main of the events kit's tests: an application object for event loops, timers and
// the network, and a private data folder so nothing reaches the user's real one. The
// endpoint and key a developer's shell may carry are not taken.
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTemporaryDir>

int main(int argc, char **argv) {
    QTemporaryDir dataHome;
    qputenv("XDG_DATA_HOME", dataHome.path().toLocal8Bit());
    qunsetenv("TARNWELL_EVENTS_URL");
    qunsetenv("TARNWELL_EVENTS_KEY");
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
