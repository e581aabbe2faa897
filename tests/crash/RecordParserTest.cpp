#include "crash/RecordParser.h"

#include <gtest/gtest.h>

#include <string>

#include "CaseName.h"

namespace tarnwell::crash {
namespace {

struct LineCase {
    const char *name;
    const char *line;
    bool parses;
};

class RecordParserTest : public ::testing::TestWithParam<LineCase> {};

TEST_P(RecordParserTest, AcceptsWholeRecordsOnly) {
    EXPECT_EQ(parseRecordLine(GetParam().line).has_value(), GetParam().parses);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, RecordParserTest,
    ::testing::Values(
        LineCase{"Signal",
                 R"({"signal":{"number":11,"code":-6,"name":"SIGSEGV","code_name":null}})", true},
        LineCase{"ArrayOfObjects", R"({"thread":{"frames":[{"pc":1},{"pc":2}],"crashed":true}})",
                 true},
        LineCase{"EmptyContainers", R"({"a":{},"b":[]})", true},
        LineCase{"StrayQuoteInValue", R"({"exception":{"reason":"say "hi" now","kind":2}})", true},
        LineCase{"CutInString", R"({"signal":{"name":"SIGSE)", false},
        LineCase{"CutAfterComma", R"({"thread":{"frames":[{"pc":1},)", false},
        LineCase{"MissingCloser", R"({"a":1)", false},
        LineCase{"TrailingGarbage", R"({"a":1}x)", false},
        LineCase{"BareWord", R"({"a":nul})", false}, LineCase{"Empty", "", false},
        LineCase{
            "TooDeep",
            "{\"a\":[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]}",
            false}),
    tarnwell::test::caseName);

TEST(RecordParserTest, ReadsValuesBack) {
    const auto record = parseRecordLine(
        R"({"exception":{"kind":2,"reason":"say "hi" now","big":18446744073709551615}})");
    ASSERT_TRUE(record.has_value());
    const RecordValue *exception = record->find("exception");
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->stringAt("reason"), R"(say "hi" now)");
    EXPECT_EQ(exception->unsignedAt("kind"), 2u);
    EXPECT_EQ(exception->unsignedAt("big"), UINT64_MAX);
    EXPECT_EQ(exception->unsignedAt("reason", 7), 7u);
    EXPECT_EQ(exception->stringAt("kind"), "");
}

}  // namespace
}  // namespace tarnwell::crash
