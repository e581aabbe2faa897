// What crash reporting writes when it starts, before anything can crash: the image log
// and the report's metadata.
#include "crash/BinaryImageLog.h"
#include "crash/ReportMetadata.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "CrashTestSupport.h"
#include "crash/ImageTable.h"
#include "crash/RecordWriter.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

ImageNode node(uint64_t base, uint64_t size) {
    return ImageNode{base, size, 0, 0, 0};
}

class ImageTableTest : public ::testing::Test {
protected:
    std::unique_ptr<ImageTable> table_ = std::make_unique<ImageTable>();
};

TEST_F(ImageTableTest, UnloadKeepsSlotWithSizeZeroAndReloadTakesNewSlot) {
    EXPECT_FALSE(storeImageNode(*table_, node(0x1000, 0x100), false)) << "unload of no load";
    ASSERT_TRUE(storeImageNode(*table_, node(0x1000, 0x100), true));
    ASSERT_TRUE(storeImageNode(*table_, node(0x1000, 0x100), false));
    EXPECT_EQ(table_->nodes[0].base, 0x1000u);
    EXPECT_EQ(table_->nodes[0].size, 0u);
    ImageNode found;
    EXPECT_FALSE(findImageForAddress(*table_, 0x1010, &found));

    ASSERT_TRUE(storeImageNode(*table_, node(0x1000, 0x100), true));
    EXPECT_EQ(table_->nodes[1].base, 0x1000u);
    EXPECT_TRUE(findImageForAddress(*table_, 0x1010, &found));
    EXPECT_EQ(found.size, 0x100u);
    EXPECT_FALSE(findImageForAddress(*table_, 0x1010, nullptr));
}

TEST_F(ImageTableTest, Load513IsNotTrackedEvenAfterUnloads) {
    for (uint64_t i = 0; i < kImageTableSize; ++i) {
        ASSERT_TRUE(storeImageNode(*table_, node(0x10000 * (i + 1), 0x100), true));
        if (i % 2 == 0) {
            ASSERT_TRUE(storeImageNode(*table_, node(0x10000 * (i + 1), 0x100), false));
        }
    }
    const std::string logged = crashLogOutput(
        [&] { EXPECT_FALSE(storeImageNode(*table_, node(0xdead0000, 0x100), true)); });
    EXPECT_NE(logged.find("Unable to track a loaded node 0xdead0000"), std::string::npos) << logged;
    ImageNode found;
    EXPECT_FALSE(findImageForAddress(*table_, 0xdead0010, &found));
}

TEST_F(ImageTableTest, FindsOnlyInsideRange) {
    storeImageNode(*table_, node(0x4000, 0x1000), true);
    storeImageNode(*table_, node(0x9000, 0x10), true);
    const std::pair<uint64_t, bool> addresses[] = {
        {0, false},      {0x3fff, false}, {0x4000, true},     {0x4fff, true},
        {0x5000, false}, {0x900f, true},  {UINT64_MAX, false}};
    ImageNode found;
    for (const auto &[address, inside] : addresses) {
        EXPECT_EQ(findImageForAddress(*table_, address, &found), inside) << address;
    }
}

// What `readelf -nlW` says of a file: the first build-id, and the size in memory of the
// first executable LOAD segment.
struct ElfFacts {
    std::string buildId;
    uint64_t codeSize = 0;
};

ElfFacts readelf(const std::string &path) {
    FILE *pipe = popen(("readelf -nlW '" + path + "' 2>/dev/null").c_str(), "r");
    if (pipe == nullptr) {
        return {};
    }
    std::string out;
    for (int c; (c = fgetc(pipe)) != EOF;) {
        out += char(c);
    }
    pclose(pipe);
    std::smatch id, load;  // "LOAD 0x016000 0x..16000 0x..16000 0x0c6f19 0x0c6f19 R E 0x1000"
    std::regex_search(out, id, std::regex("Build ID: ([0-9a-f]+)"));
    std::regex_search(out, load, std::regex("LOAD +(0x[0-9a-f]+ +){4}(0x[0-9a-f]+) R E "));
    return {id[1], load.empty() ? 0 : std::stoull(load[2], nullptr, 16)};
}

class BinaryImageLogTest : public ::testing::Test {
protected:
    BinaryImageLogTest() { log_.start(); }

    std::vector<RecordValue> linesFor(const char *kind) {
        std::vector<RecordValue> lines;
        for (RecordValue &record : parsedRecords(logPath_)) {
            if (const RecordValue *value = record.find(kind);
                value != nullptr && value->stringAt("path") == TARNWELL_TEST_LIBRARY) {
                lines.push_back(*value);
            }
        }
        return lines;
    }

    TemporaryDirectory directory_;
    const std::string logPath_ = directory_.path() + "/binary_images.crsrecord";
    std::unique_ptr<ImageTable> table_ = std::make_unique<ImageTable>();
    BinaryImageLog log_{*table_, logPath_};
};

TEST_F(BinaryImageLogTest, StartLogsExecutableThenEveryImage) {
    const auto records = parsedRecords(logPath_);
    ASSERT_GE(records.size(), 3u);
    const RecordValue *executable = records[0].find("executable");
    const RecordValue *load = records[1].find("load");
    ASSERT_TRUE(executable != nullptr && load != nullptr);
    EXPECT_EQ(executable->stringAt("architecture"), "x86_64");
    // The loader lists the main executable first; its node holds this test's code.
    ImageNode found;
    ASSERT_TRUE(findImageForAddress(*table_, uint64_t(uintptr_t(&readelf)), &found));
    EXPECT_EQ(found.base, load->unsignedAt("base"));
    const ElfFacts self = readelf(std::filesystem::read_symlink("/proc/self/exe"));
    ASSERT_NE(self.codeSize, 0u);
    EXPECT_EQ(load->stringAt("uuid"), self.buildId.substr(0, 32));
    EXPECT_EQ(load->unsignedAt("size"), self.codeSize);
    EXPECT_EQ(executable->unsignedAt("size"), self.codeSize);
    RecordWriter closed;  // nothing to write the details to
    EXPECT_FALSE(recordExecutableDetails(nullptr, BinaryImageLog::mainExecutableDetails()));
    EXPECT_FALSE(recordExecutableDetails(&closed, BinaryImageLog::mainExecutableDetails()));
}

TEST_F(BinaryImageLogTest, DlopenAndDlcloseAreNoticed) {
    const auto unchanged = parsedRecords(logPath_).size();
    log_.refresh();
    EXPECT_EQ(parsedRecords(logPath_).size(), unchanged) << "a refresh with nothing new";

    void *library = dlopen(TARNWELL_TEST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto function = uint64_t(uintptr_t(dlsym(library, "tarnwellTestLibraryAnswer")));
    log_.refresh();
    const auto loads = linesFor("load");
    ASSERT_EQ(loads.size(), 1u);
    const ElfFacts elf = readelf(TARNWELL_TEST_LIBRARY);
    EXPECT_EQ(loads[0].stringAt("uuid"), elf.buildId.substr(0, 32));
    EXPECT_EQ(loads[0].unsignedAt("size"), elf.codeSize);
    ImageNode found;
    ASSERT_TRUE(findImageForAddress(*table_, function, &found));
    EXPECT_EQ(found.base, loads[0].unsignedAt("base"));
    EXPECT_GT(found.ehFrame, found.base);
    ImageDetails byUuid;
    ASSERT_TRUE(BinaryImageLog::findImageForUUID(loads[0].stringAt("uuid").c_str(), &byUuid));
    EXPECT_EQ(byUuid.node.base, found.base);

    ASSERT_EQ(dlclose(library), 0);
    log_.refresh();
    const auto unloads = linesFor("unload");
    ASSERT_EQ(unloads.size(), 1u);
    EXPECT_EQ(unloads[0].unsignedAt("base"), found.base);
    EXPECT_FALSE(findImageForAddress(*table_, function, &found));
    EXPECT_FALSE(BinaryImageLog::findImageForUUID(loads[0].stringAt("uuid").c_str(), &byUuid));
    EXPECT_FALSE(BinaryImageLog::findImageForUUID(nullptr, &byUuid));

    // Loading it again claims a fresh slot and logs a second load.
    library = dlopen(TARNWELL_TEST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    log_.refresh();
    EXPECT_EQ(linesFor("load").size(), 2u);
    dlclose(library);
}

class ReportMetadataTest : public ::testing::Test {
protected:
    std::vector<std::string> write() {
        recordMetadata(directory_.path(), values_, host_, BinaryImageLog::mainExecutableDetails());
        return readLines(directory_.path() + "/metadata.crsrecord");
    }
    TemporaryDirectory directory_;
    MetadataValues values_{.apiKey = {},
                           .sessionId = "session",
                           .installId = "install",
                           .betaToken = "beta",
                           .bundleIdentifier = "app/tarnwell/Tarnwell",
                           .customBundleIdentifier = {},
                           .buildVersion = "7",
                           .displayVersion = "1.2.3",
                           .startedAt = 1700000000};
    HostValues host_{.model = {},
                     .machine = "x86_64",
                     .cpu = {},
                     .osBuildVersion = "#1 SMP",
                     .osDisplayVersion = "6.1.0",
                     .locale = "en_GB"};
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

// The second time, with the running system's host values: a machine name (not
// "(failed)") and the kernel release as three numbers.
TEST_F(ReportMetadataTest, SecondWriteReplacesTheFile) {
    write();
    values_.sessionId = "second";
    host_ = readHostValues();
    const auto lines = write();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].find(R"("session_id":"second")"), std::string::npos) << lines[0];
    EXPECT_TRUE(std::regex_search(
        lines[1], std::regex(R"("machine":"[^"(]+",.*"os_display_version":"[1-9]\d*\.\d+\.\d+")")))
        << lines[1];
}

}  // namespace
}  // namespace tarnwell::crash
