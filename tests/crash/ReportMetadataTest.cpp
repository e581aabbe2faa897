#include "crash/ReportMetadata.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CrashTestSupport.h"
#include "crash/BinaryImageLog.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

std::vector<std::string> keysOf(const RecordValue &object) {
    std::vector<std::string> keys;
    for (const auto &[key, value] : object.members) {
        keys.push_back(key);
    }
    return keys;
}

class ReportMetadataTest : public ::testing::Test {
protected:
    ReportMetadataTest() {
        values_.sessionId = "session";
        values_.installId = "install";
        values_.bundleIdentifier = "app/tarnwell/Tarnwell";
        values_.buildVersion = "7";
        values_.displayVersion = "1.2.3";
        values_.startedAt = 1700000000;
        host_.machine = "x86_64";
        host_.osDisplayVersion = "6.1.0";
        host_.locale = "en_GB";
    }
    std::vector<RecordValue> write() {
        recordMetadata(directory_.path(), values_, host_, BinaryImageLog::mainExecutableDetails());
        return parsedRecords(directory_.path() + "/metadata.crsrecord");
    }
    TemporaryDirectory directory_;
    MetadataValues values_;
    HostValues host_;
};

TEST_F(ReportMetadataTest, FourRecordsInOrder) {
    const auto lines = write();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(keysOf(lines[0]), std::vector<std::string>{"identity"});
    EXPECT_EQ(keysOf(lines[1]), std::vector<std::string>{"host"});
    EXPECT_EQ(keysOf(lines[2]), std::vector<std::string>{"application"});
    EXPECT_EQ(keysOf(lines[3]), std::vector<std::string>{"executable"});

    const RecordValue &identity = *lines[0].find("identity");
    EXPECT_EQ(keysOf(identity),
              (std::vector<std::string>{"generator", "build_version", "display_version", "api_key",
                                        "started_at", "session_id", "install_id", "beta_token",
                                        "absolute_log_timestamps"}));
    EXPECT_EQ(identity.unsignedAt("started_at"), 1700000000u);
    EXPECT_EQ(identity.find("api_key")->type, RecordValue::Type::Null);

    // Values the host cannot provide are marked, not left out.
    const RecordValue &host = *lines[1].find("host");
    EXPECT_EQ(host.stringAt("model"), "(failed)");
    EXPECT_EQ(host.stringAt("cpu"), "(failed)");
    EXPECT_EQ(host.stringAt("machine"), "x86_64");
    EXPECT_EQ(host.stringAt("platform"), "linux");

    const RecordValue &application = *lines[2].find("application");
    EXPECT_EQ(application.stringAt("bundle_id"), "app_tarnwell_Tarnwell");
    EXPECT_EQ(application.find("extension_id")->type, RecordValue::Type::Null);
    EXPECT_EQ(application.stringAt("display_version"), "1.2.3");

    const RecordValue &executable = *lines[3].find("executable");
    EXPECT_EQ(executable.stringAt("uuid").size(), 32u);
    EXPECT_NE(executable.unsignedAt("base"), 0u);
}

TEST_F(ReportMetadataTest, SecondWriteReplacesTheFile) {
    write();
    values_.sessionId = "second";
    const auto lines = write();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].find("identity")->stringAt("session_id"), "second");
}

TEST(HostValuesTest, ReadFromTheRunningSystem) {
    const HostValues host = readHostValues();
    ASSERT_TRUE(host.machine.has_value());
    EXPECT_FALSE(host.machine->empty());
    int major = -1, minor = -1, patch = -1;
    EXPECT_EQ(sscanf(host.osDisplayVersion.c_str(), "%d.%d.%d", &major, &minor, &patch), 3);
    EXPECT_GT(major, 0);
}

}  // namespace
}  // namespace tarnwell::crash
