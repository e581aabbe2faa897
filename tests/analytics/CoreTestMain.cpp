// An application object for event loops, timers and the network; a private data folder,
// and no endpoint or key from the developer's shell, so nothing reaches the real ones.
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
