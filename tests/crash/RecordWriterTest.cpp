#include "crash/RecordWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "CrashTestSupport.h"
#include "crash/CrashLog.h"
#include "crash/RecordParser.h"
#include "crash/SafeFormat.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

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
    EXPECT_EQ(signal.unsignedAt("number"), UINT64_MAX);
    EXPECT_EQ(signal.stringAt("name"), "SIG\"SEGV");
    EXPECT_EQ(signal.unsignedAt("name", 7), 7u);
    EXPECT_EQ(signal.stringAt("number"), "");
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

TEST_F(RecordWriterTest, AppendStartsCountAtFileSizeAndTruncateReplaces) {
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
}

TEST_F(RecordWriterTest, BufferedWriterHoldsTextUntilFullOrClosed) {
    RecordWriter writer;
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

}  // namespace
}  // namespace tarnwell::crash
