// Gives every test of the executable an application object (event loops,
// timers, the network) and a private data folder, so nothing reaches the
// user's real one.
#include <memory>

#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTemporaryDir>

namespace {

class QtTestEnvironment : public testing::Environment {
public:
    void SetUp() override {
        dataHome_ = std::make_unique<QTemporaryDir>();
        qputenv("XDG_DATA_HOME", dataHome_->path().toLocal8Bit());
        qunsetenv("TARNWELL_EVENTS_URL");
        qunsetenv("TARNWELL_EVENTS_KEY");
        application_ = std::make_unique<QCoreApplication>(argc_, argv_);
    }
    void TearDown() override {
        application_.reset();
        dataHome_.reset();
    }

private:
    int argc_ = 1;
    char name_[16] = "tarnwell_test";
    char *argv_[2] = {name_, nullptr};
    std::unique_ptr<QTemporaryDir> dataHome_;
    std::unique_ptr<QCoreApplication> application_;
};

[[maybe_unused]] testing::Environment *const environment =
    testing::AddGlobalTestEnvironment(new QtTestEnvironment);

}  // namespace
