// What crash reporting writes and reads back: the record writer, the image log and
// metadata written when it starts, and the reports folder.
#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
#include <tuple>
#include <utility>

#include "CrashTestSupport.h"
#include "crash/BinaryImageLog.h"
#include "crash/CrashLog.h"
#include "crash/CrashReportReader.h"
#include "crash/ImageTable.h"
#include "crash/RecordWriter.h"
#include "crash/ReportMetadata.h"
#include "crash/ReportStore.h"
#include "crash/SafeFormat.h"
#include "crash/TelemetryDirectory.h"

namespace tarnwell::crash {
namespace {

namespace fs = std::filesystem;
using namespace testing;

// What `body` writes to the crash log.
std::string crashLogOutput(const std::function<void()> &body) {
    FILE *log = tmpfile();
    setCrashLogDescriptor(fileno(log));
    body();
    setCrashLogDescriptor(-1);
    const std::string text = readText("/proc/self/fd/" + std::to_string(fileno(log)));
    fclose(log);
    return text;
}

TEST(SafeFormatTest, DirectivesAndTruncation) {
    char out[128];
    safeFormat(out, sizeof out, "[%s:%d] %d %u %x %p %lld %llu %lx %zu %c%%", "f", 12, -7, 0u, 255u,
               reinterpret_cast<void *>(0x10), LLONG_MIN, ULLONG_MAX, ULONG_MAX, size_t(10), 'z');
    EXPECT_STREQ(out,
                 "[f:12] -7 0 ff 0x10 -9223372036854775808 18446744073709551615 "
                 "ffffffffffffffff 10 z%");
    const char *volatile absent = nullptr;
    safeFormat(out, sizeof out, "%s", absent);
    EXPECT_STREQ(out, "(null)");
    char small[6];
    EXPECT_EQ(safeFormat(small, sizeof small, "%s", "truncated"), 5u);
    EXPECT_STREQ(small, "trunc");
}

TEST(CrashLogTest, LineCarriesLevelFunctionAndLine) {
    const int line = __LINE__ + 1;
    const std::string text = crashLogOutput([] { CRS_WARN("Signal: %d\n", 11); });
    EXPECT_EQ(text, "WARN  [operator():" + std::to_string(line) + "] Signal: 11\n");
}

// A write(2) that passes one byte a call.
int writeCalls = 0;
ssize_t writeOneByte(int fd, const void *data, size_t length) {
    ++writeCalls;
    return ::write(fd, data, length == 0 ? 0 : 1);
}

TEST(WriteLoopTest, GivesUpAfterFiftyCallsOrAnImpossibleCount) {
    const int fd = open("/dev/null", O_WRONLY);
    const std::string fiftyOne(51, 'x');
    EXPECT_TRUE(writeFully(fd, fiftyOne.data(), 50, writeOneByte));
    EXPECT_EQ(std::exchange(writeCalls, 0), 50);
    EXPECT_FALSE(writeFully(fd, fiftyOne.data(), 51, writeOneByte));
    EXPECT_EQ(writeCalls, 50);
    EXPECT_TRUE(writeFully(fd, "", 0, writeOneByte));
    EXPECT_FALSE(writeFully(fd, "abc", 3, [](int, const void *, size_t) -> ssize_t { return -1; }));
    EXPECT_FALSE(writeFully(fd, "abc", 3, [](int, const void *, size_t) -> ssize_t { return 4; }));
    close(fd);
}

class RecordWriterTest : public ::testing::Test {
protected:
    std::string path() const { return directory_.path() + "/record.crsrecord"; }
    std::string contents() const { return readText(path()); }
    TemporaryDirectory directory_;
};

// Keys and strings go out unescaped: a reader must take a stray quote inside a value.
TEST_F(RecordWriterTest, WritesRecordFormsThatReadBack) {
    const std::string expected =
        "{\"signal\":{\"number\":18446744073709551615,\"code\":-6,\"min\":-9223372036854775808,"
        "\"name\":\"SIG\"SEGV\",\"code_name\":null,\"flag\":false,\"codes\":[1,2,{}],"
        "\"hex\":\"01ab5461726e77656c6c207265636f7264732121\",\"none\":null}}\n";
    for (const bool buffered : {false, true}) {
        RecordWriter writer;
        ASSERT_TRUE(writer.open(path().c_str(), false, buffered));
        writer.beginKeyedObject("signal");
        writer.beginObject();
        writer.writeUnsigned("number", UINT64_MAX);
        writer.writeSigned("code", -6);
        writer.writeSigned("min", INT64_MIN);
        writer.writeString("name", "SIG\"SEGV");
        writer.writeString("code_name", nullptr);
        writer.writeBool("flag", false);
        writer.writeKey("codes");
        writer.beginArray();
        writer.writeUnsigned(1);
        writer.writeUnsigned(2);
        writer.beginObject();
        writer.endObject();
        writer.endArray();
        writer.writeKey("hex");
        writer.writeHexString("\x01\xabTarnwell records!!", 20);  // past one 32-digit chunk
        writer.writeKey("none");
        writer.writeHexString(nullptr, 4);
        writer.endObject();
        writer.endRecord();
        uint64_t offset = 0;
        ASSERT_TRUE(writer.close(&offset));
        EXPECT_EQ(contents(), expected) << (buffered ? "buffered" : "unbuffered");
        EXPECT_EQ(offset, expected.size());
    }
    const auto record = parseRecordLine(expected.substr(0, expected.size() - 1));
    ASSERT_TRUE(record && record->find("signal"));
    const RecordValue &signal = *record->find("signal");
    // A value read as the wrong type gives the fallback.
    EXPECT_EQ(std::tuple(signal.unsignedAt("number"), signal.stringAt("name"),
                         signal.unsignedAt("name", 7), signal.stringAt("number")),
              std::tuple(UINT64_MAX, "SIG\"SEGV", 7u, ""));
    EXPECT_EQ(signal.find("code_name")->type, RecordValue::Type::Null);
    EXPECT_EQ(signal.find("codes")->items.size(), 3u);
}

// A crash can cut a record anywhere; such a line is refused whole, never read in part.
TEST(RecordParserTest, AcceptsWholeRecordsOnly) {
    for (const char *line : {R"({"a":{},"b":[]})", R"({"e":{"reason":"say "hi" now","k":2}})"}) {
        EXPECT_TRUE(parseRecordLine(line).has_value()) << line;
    }
    for (const char *line :
         {R"({"signal":{"name":"SIGSE)", R"({"thread":{"frames":[{"pc":1},)", R"({"a":1)",
          R"({"a":1}x)", R"({"a":nul})", "",
          "{\"a\":[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]}"}) {
        EXPECT_FALSE(parseRecordLine(line).has_value()) << line;
    }
}

TEST_F(RecordWriterTest, AppendTruncateAndBufferedOpenings) {
    std::ofstream(path()) << "0123456789";
    RecordWriter writer;
    ASSERT_TRUE(writer.open(path().c_str(), true, false));
    EXPECT_EQ(writer.bytesWritten(), 10u);
    writer.writeString("ab");
    uint64_t offset = 0;
    writer.close(&offset);
    EXPECT_EQ(offset, 14u);
    EXPECT_EQ(contents(), "0123456789\"ab\"");

    ASSERT_TRUE(writer.open(path().c_str(), false, false));
    EXPECT_EQ(writer.bytesWritten(), 0u);
    writer.writeNull();
    writer.close();
    EXPECT_EQ(contents(), "null");
    EXPECT_EQ(std::filesystem::status(path()).permissions(), std::filesystem::perms(0644));

    // Buffered, the text is held until the buffer is full or the file closed.
    ASSERT_TRUE(writer.open(path().c_str(), false, true));
    const std::string piece(300, 'a');
    for (int i = 0; i < 3; ++i) {
        writer.writeString(piece.c_str());
    }
    EXPECT_EQ(contents(), "");
    writer.writeString(piece.c_str());  // passes 1000 bytes
    EXPECT_GE(contents().size(), 3 * 302 + 2u);
    EXPECT_LT(contents().size(), 4 * 302 + 3u);
    writer.close();
    EXPECT_EQ(contents().size(), 4 * 302 + 3u);
}

TEST_F(RecordWriterTest, FailuresAreReportedNotHidden) {
    RecordWriter writer;
    EXPECT_FALSE(writer.open(nullptr, false, false));
    EXPECT_FALSE(writer.open((directory_.path() + "/missing/x").c_str(), false, false));
    EXPECT_FALSE(writer.writeString("x"));
    EXPECT_FALSE(writer.close());
    // A full disk: every write fails alike, so the log says it once for the file.
    ASSERT_TRUE(writer.open(path().c_str(), false, false));
    writer.setWriteCall([](int, const void *, size_t) -> ssize_t {
        errno = ENOSPC;
        return -1;
    });
    const std::string log = crashLogOutput([&] {
        EXPECT_FALSE(writer.writeUnsigned(1));
        EXPECT_FALSE(writer.writeString("x"));
        EXPECT_FALSE(writer.close());
    });
    EXPECT_EQ(writer.bytesWritten(), 0u);
    const std::string line =
        "Error: Unable to write file " + path() + " (No space left on device)\n";
    EXPECT_TRUE(log.ends_with(line)) << log;
    EXPECT_EQ(log.find("Unable to write"), log.rfind("Unable to write")) << log;
}

ImageNode node(uint64_t base, uint64_t size) {
    return ImageNode{base, size, 0, 0, 0};
}

TEST(ImageTableTest, UnloadKeepsSlotReloadTakesNewOneAndLookupsStayInRange) {
    const auto table = std::make_unique<ImageTable>();
    EXPECT_FALSE(storeImageNode(*table, node(0x1000, 0x100), false)) << "unload of no load";
    ASSERT_TRUE(storeImageNode(*table, node(0x1000, 0x100), true));
    ASSERT_TRUE(storeImageNode(*table, node(0x1000, 0x100), false));
    EXPECT_EQ(table->nodes[0].base, 0x1000u);
    EXPECT_EQ(table->nodes[0].size, 0u);
    ImageNode found;
    EXPECT_FALSE(findImageForAddress(*table, 0x1010, &found));

    ASSERT_TRUE(storeImageNode(*table, node(0x1000, 0x100), true));
    EXPECT_EQ(table->nodes[1].base, 0x1000u);
    EXPECT_TRUE(findImageForAddress(*table, 0x1010, &found));
    EXPECT_EQ(found.size, 0x100u);
    EXPECT_FALSE(findImageForAddress(*table, 0x1010, nullptr));

    storeImageNode(*table, node(0x4000, 0x1000), true);
    storeImageNode(*table, node(0x9000, 0x10), true);
    const std::pair<uint64_t, bool> addresses[] = {
        {0, false},      {0x3fff, false}, {0x4000, true},     {0x4fff, true},
        {0x5000, false}, {0x900f, true},  {UINT64_MAX, false}};
    for (const auto &[address, inside] : addresses) {
        EXPECT_EQ(findImageForAddress(*table, address, &found), inside) << address;
    }
}

TEST(ImageTableTest, Load513IsNotTrackedEvenAfterUnloads) {
    const auto table = std::make_unique<ImageTable>();
    for (uint64_t i = 0; i < kImageTableSize; ++i) {
        ASSERT_TRUE(storeImageNode(*table, node(0x10000 * (i + 1), 0x100), true));
        if (i % 2 == 0) {
            ASSERT_TRUE(storeImageNode(*table, node(0x10000 * (i + 1), 0x100), false));
        }
    }
    const std::string logged = crashLogOutput(
        [&] { EXPECT_FALSE(storeImageNode(*table, node(0xdead0000, 0x100), true)); });
    EXPECT_NE(logged.find("Unable to track a loaded node 0xdead0000"), std::string::npos) << logged;
    ImageNode found;
    EXPECT_FALSE(findImageForAddress(*table, 0xdead0010, &found));
}

// What `readelf -nlW` says of a file: the first build-id, and the size in memory of the
// first executable LOAD segment.
struct ElfFacts {
    std::string buildId;
    uint64_t codeSize = 0;
};

ElfFacts readelf(const std::string &path) {
    const TemporaryDirectory scratch;
    const std::string answer = scratch.path() + "/readelf";
    std::system(("readelf -nlW '" + path + "' > " + answer + " 2>/dev/null").c_str());
    const std::string out = readText(answer);
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

class ReportStoreTest : public ::testing::Test {
protected:
    fs::path root() const { return directory_.path(); }
    TemporaryDirectory directory_;
};

// An ended run's report with a crash record, even an empty one (opened by the handler
// on a full disk), becomes pending; one without is dropped. A running process's report
// (its lock held) and one still being made are left alone. A root that cannot be made
// fails.
TEST_F(ReportStoreTest, EndedRunWithCrashRecordBecomesPending) {
    ReportStore running(root());
    ASSERT_TRUE(running.prepare());
    std::ofstream(running.activeDirectory() / "signal.crsrecord") << "{\"signal\":{}}\n";
    fs::rename(running.activeDirectory(), root() / "active-running");
    fs::create_directories(root() / "starting-abc123");
    const std::pair<const char *, const char *> endedRuns[] = {
        {"signal.crsrecord", "{\"signal\":{}}\n"},
        {"exception.crsrecord", "{\"exception\":{}}\n"},
        {"signal.crsrecord", ""},
        {"metadata.crsrecord", "{}\n"}};
    for (size_t i = 0; i < std::size(endedRuns); ++i) {
        const fs::path report = root() / ("active-" + std::to_string(i));
        fs::create_directories(report);
        std::ofstream(report / "metadata.crsrecord") << "{}\n";
        std::ofstream(report / endedRuns[i].first) << endedRuns[i].second;
    }
    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    const auto pending = store.pendingReports();
    ASSERT_EQ(pending.size(), 3u);
    for (const fs::path &report : pending) {
        EXPECT_TRUE(fs::exists(report / "metadata.crsrecord"));
        EXPECT_FALSE(fs::exists(report / ".lock"));
    }
    for (const char *gone : {"active-0", "active-1", "active-2", "active-3"}) {
        EXPECT_FALSE(fs::exists(root() / gone)) << gone;
    }
    EXPECT_TRUE(fs::exists(root() / "active-running" / "signal.crsrecord"));
    EXPECT_TRUE(fs::exists(root() / "starting-abc123"));
    EXPECT_TRUE(store.activeDirectory().filename().string().starts_with("active-"));
    EXPECT_TRUE(fs::is_directory(store.activeDirectory()));
    std::ofstream(root() / "file") << "x";
    EXPECT_FALSE(ReportStore(root() / "file" / "reports").prepare()) << "a root under a file";
}

// Reports are ranked by the time their records carry, not by folder name; a time
// later than now (a wrong clock) ranks below every believable one, and what is not a
// report neither counts nor goes.
TEST_F(ReportStoreTest, KeepsTheTenNewestRealReports) {
    const fs::path pending = root() / "pending";
    auto report = [&](const std::string &name, uint64_t time) {
        fs::create_directories(pending / name);
        std::ofstream(pending / name / "signal.crsrecord")
            << "{\"signal\":{\"name\":\"SIGSEGV\",\"time\":" << time << "}}\n";
    };
    // Eleven reports of November 2026 (1795000000 + i), in names that sort the other way.
    for (int i = 0; i < 11; ++i) {
        report("2026" + std::to_string(20 - i), 1795000000 + i);
    }
    report("20991231T000000Z-001", 1795000005 - 1000);  // future name, old record
    report("wrong-clock", 4102444800);                  // 2100-01-01
    for (const char *junk : {"99999999T999999Z-999", "zz-not-a-report", "empty"}) {
        fs::create_directories(pending / junk);
    }
    std::ofstream(pending / "zz-file") << "x";

    ReportStore store(root());
    ASSERT_TRUE(store.prepare());
    std::vector<std::string> kept;
    for (const fs::path &path : store.pendingReports()) {
        kept.push_back(path.filename().string());
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"202610", "202611", "202612", "202613", "202614",
                                              "202615", "202616", "202617", "202618", "202619"}));
    for (const char *gone : {"202620", "20991231T000000Z-001", "wrong-clock"}) {
        EXPECT_FALSE(fs::exists(pending / gone)) << gone;
    }
    for (const char *left : {"99999999T999999Z-999", "zz-not-a-report", "empty", "zz-file"}) {
        EXPECT_TRUE(fs::exists(pending / left)) << left;
    }
}

TEST(CrashReportReaderTest, TiesFramesToImagesAndListsDamagedLines) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/binary_images.crsrecord")
        << R"({"load":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":100}}
{"unload":{"path":"/usr/bin/a","uuid":"aa","base":4096,"size":0}}
{"load":{"path":"/usr/lib/b.so","uuid":"bb","base":4096,"size":100}}
{"load":{"path":"/usr/lib/c.so","uu
)";
    std::ofstream(report.path() + "/signal.crsrecord")
        << R"({"signal":{"number":6,"code":-6,"address":0,"name":"SIGABRT","code_name":"ABORT","errno":0,"time":1700000000}}
{"thread":{"tid":5,"crashed":true,"frames":[{"pc":4106,"image_base":4096,"offset":10,"trust":"context"},{"pc":9,"trust":"scan"}]}}
{"thread":{"tid":5,"crashed":true,"frames":[{"pc":4)";

    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(
        std::tie(read.kind, read.title, read.reason, read.time, read.signalCode, read.faultAddress),
        std::make_tuple("signal", "SIGABRT", "ABORT", 1700000000u, -6, 0u));
    const auto shown = [](const ReportFrame &f) {
        return std::tie(f.imagePath, f.imageUuid, f.offset, f.trust);
    };
    ASSERT_EQ(read.frames.size(), 2u);
    // The latest load at that base wins: the first image was unloaded before.
    EXPECT_EQ(shown(read.frames[0]), std::make_tuple("/usr/lib/b.so", "bb", 10u, "context"));
    EXPECT_EQ(shown(read.frames[1]), std::make_tuple("", "", 0u, "scan"));
    ASSERT_EQ(read.damaged.size(), 2u);
    EXPECT_EQ(read.damaged[0].file + ":" + std::to_string(read.damaged[0].lineNumber),
              "binary_images.crsrecord:4");
    EXPECT_EQ(read.damaged[1].file + ":" + std::to_string(read.damaged[1].lineNumber),
              "signal.crsrecord:3");
    EXPECT_FALSE(read.metadata.has_value());
}

TEST(CrashReportReaderTest, ExceptionReportAndMissingFolder) {
    TemporaryDirectory report;
    std::ofstream(report.path() + "/exception.crsrecord")
        << R"({"exception":{"kind":2,"type":"std::runtime_error","reason":"x","time":5}})" << '\n';
    std::ofstream(report.path() + "/metadata.crsrecord") << R"({"identity":{"session_id":"s"}}
{"host":{"platform":"linux"}}
)";
    const CrashReport read = readCrashReport(report.path());
    EXPECT_EQ(std::tie(read.kind, read.title, read.reason),
              std::make_tuple("exception", "std::runtime_error", "x"));
    ASSERT_TRUE(read.metadata.has_value());
    EXPECT_EQ(read.metadata->find("host")->stringAt("platform"), "linux");
    EXPECT_TRUE(read.damaged.empty());

    const CrashReport missing = readCrashReport(report.path() + "/missing");
    EXPECT_EQ(missing.kind, "");
    EXPECT_TRUE(missing.frames.empty() && missing.damaged.empty());
}

void assign(const char *name, const std::optional<std::string> &value) {
    value ? setenv(name, value->c_str(), 1) : unsetenv(name);
}

std::optional<std::string> valueOf(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

TEST(TelemetryDirectoryTest, BuildsFolderFromDataHomeOrHome) {
    const std::optional<std::string> dataHome = valueOf("XDG_DATA_HOME"), home = valueOf("HOME");
    const struct {
        std::optional<std::string> dataHome, home;
        const char *bundleIdentifier, *expected;
    } cases[] = {
        {"/d", "/h", "app.tarnwell.Tarnwell", "/d/telemetry.data/app.tarnwell.Tarnwell"},
        {{}, "/h", "app.tarnwell.Tarnwell", "/h/.local/share/telemetry.data/app.tarnwell.Tarnwell"},
        {"", "/h", "x", "/h/.local/share/telemetry.data/x"},         // empty: ignored
        {"rel/dir", "/h", "x", "/h/.local/share/telemetry.data/x"},  // relative: ignored
        {"/d", {}, "/a/b//c", "/d/telemetry.data/_a_b__c"},
        {{}, {}, "x", ""},
        {{}, "", "x", ""}};
    for (const auto &c : cases) {
        assign("XDG_DATA_HOME", c.dataHome);
        assign("HOME", c.home);
        EXPECT_EQ(telemetryDirectory(c.bundleIdentifier), c.expected) << "row " << (&c - cases);
    }
    assign("XDG_DATA_HOME", dataHome);
    assign("HOME", home);
}

}  // namespace
}  // namespace tarnwell::crash
