#include "crash/ReportMetadata.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CrashTestSupport.h"
#include "crash/BinaryImageLog.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

class ReportMetadataTest : public ::testing::Test {
protected:
    ReportMetadataTest() {
        values_.sessionId = "session";
        values_.installId = "install";
        values_.betaToken = "beta";
        values_.bundleIdentifier = "app/tarnwell/Tarnwell";
        values_.buildVersion = "7";
        values_.displayVersion = "1.2.3";
        values_.startedAt = 1700000000;
        host_.machine = "x86_64";
        host_.osBuildVersion = "#1 SMP";
        host_.osDisplayVersion = "6.1.0";
        host_.locale = "en_GB";
    }
    std::vector<std::string> write() {
        recordMetadata(directory_.path(), values_, host_, BinaryImageLog::mainExecutableDetails());
        return readLines(directory_.path() + "/metadata.crsrecord");
    }
    TemporaryDirectory directory_;
    MetadataValues values_;
    HostValues host_;
};

// Absent values are null, or "(failed)" where the host could not say; none is left out.
TEST_F(ReportMetadataTest, FourRecordsInOrder) {
    const auto lines = write();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0],
              R"j({"identity":{"generator":"Telemetry Crash SDK/3.13.1","build_version":"140",)j"
              R"j("display_version":"3.13.1","api_key":null,"started_at":1700000000,)j"
              R"j("session_id":"session","install_id":"install","beta_token":"beta",)j"
              R"j("absolute_log_timestamps":true}})j");
    EXPECT_EQ(lines[1], R"j({"host":{"model":"(failed)","machine":"x86_64","cpu":"(failed)",)j"
                        R"j("os_build_version":"#1 SMP","os_display_version":"6.1.0",)j"
                        R"j("platform":"linux","locale":"en_GB"}})j");
    EXPECT_EQ(lines[2],
              R"j({"application":{"bundle_id":"app_tarnwell_Tarnwell","custom_bundle_id":null,)j"
              R"j("build_version":"7","display_version":"1.2.3","extension_id":null}})j");
    EXPECT_TRUE(lines[3].starts_with(R"({"executable":{"architecture":"x86_64",)")) << lines[3];
}

TEST_F(ReportMetadataTest, SecondWriteReplacesTheFile) {
    write();
    values_.sessionId = "second";
    const auto lines = write();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].find(R"("session_id":"second")"), std::string::npos) << lines[0];
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
