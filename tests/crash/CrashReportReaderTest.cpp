#include "crash/CrashReportReader.h"

#include <gtest/gtest.h>

#include <fstream>

#include "CrashTestSupport.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

TEST(CrashReportReaderTest, TiesFramesToImagesAndListsDamagedLines) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/binary_images.crsrecord")
        << R"({"load":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":100}})"
           "\n"
        << R"({"unload":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":0}})"
           "\n"
        << R"({"load":{"path":"/usr/lib/b.so","uuid":"bb","base":4096,"size":100}})"
           "\n"
        << R"({"load":{"path":"/usr/lib/c.so","uu)"
           "\n";
    std::ofstream(report.path() + "/signal.crsrecord")
        << R"({"signal":{"number":11,"code":1,"address":0,"name":"SIGSEGV","code_name":null,"errno":0,"time":1700000000}})"
           "\n"
        << R"({"thread":{"tid":5,"crashed":true,"frames":[{"pc":4106,"image_base":4096,"offset":10,"trust":"context"},{"pc":9,"trust":"scan"}]}})"
           "\n"
        << R"({"thread":{"tid":5,"crashed":true,"frames":[{"pc":4)";

    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(read.kind, "signal");
    EXPECT_EQ(read.title, "SIGSEGV");
    EXPECT_EQ(read.reason, "");
    EXPECT_EQ(read.time, 1700000000u);
    EXPECT_EQ(read.signalCode, 1);
    EXPECT_EQ(read.faultAddress, 0u);
    ASSERT_EQ(read.frames.size(), 2u);
    // The latest load at that base wins: the first image was unloaded before.
    EXPECT_EQ(read.frames[0].imagePath, "/usr/lib/b.so");
    EXPECT_EQ(read.frames[0].imageUuid, "bb");
    EXPECT_EQ(read.frames[0].offset, 10u);
    EXPECT_EQ(read.frames[1].imagePath, "");
    EXPECT_EQ(read.frames[1].trust, "scan");

    ASSERT_EQ(read.damaged.size(), 2u);
    EXPECT_EQ(read.damaged[0].file, "binary_images.crsrecord");
    EXPECT_EQ(read.damaged[0].lineNumber, 4u);
    EXPECT_EQ(read.damaged[1].file, "signal.crsrecord");
    EXPECT_EQ(read.damaged[1].lineNumber, 3u);
    EXPECT_FALSE(read.metadata.has_value());
}

TEST(CrashReportReaderTest, ExceptionReport) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/exception.crsrecord")
        << R"({"exception":{"kind":2,"type":"std::runtime_error","reason":"x","time":5}})"
           "\n";
    std::ofstream(report.path() + "/metadata.crsrecord") << R"({"identity":{"session_id":"s"}})"
                                                            "\n"
                                                         << R"({"host":{"platform":"linux"}})"
                                                            "\n";
    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(read.kind, "exception");
    EXPECT_EQ(read.title, "std::runtime_error");
    EXPECT_EQ(read.reason, "x");
    ASSERT_TRUE(read.metadata.has_value());
    EXPECT_EQ(read.metadata->find("host")->stringAt("platform"), "linux");
    EXPECT_TRUE(read.damaged.empty());
}

TEST(CrashReportReaderTest, MissingDirectoryReadsAsEmpty) {
    const CrashReport read = readCrashReport("/nonexistent/report");
    EXPECT_EQ(read.kind, "");
    EXPECT_TRUE(read.frames.empty());
    EXPECT_TRUE(read.damaged.empty());
}

}  // namespace
}  // namespace tarnwell::crash
