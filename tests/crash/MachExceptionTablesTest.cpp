#include "crash/MachExceptionTables.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

namespace tarnwell::crash::mach {
namespace {

struct NameCase {
    int type;
    int64_t code;
    const char *name;      // nullptr: null
    const char *codeName;  // nullptr: null
};

std::string orNull(const char *text) {
    return text == nullptr ? "null" : text;
}

class ExceptionNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(ExceptionNameTest, NamesTypeAndFirstCode) {
    const NameCase &c = GetParam();
    EXPECT_EQ(orNull(exceptionName(c.type)), orNull(c.name));
    EXPECT_EQ(orNull(exceptionCodeName(c.type, c.code)), orNull(c.codeName));
}

// The ends of each table and the gaps between its named entries.
INSTANTIATE_TEST_SUITE_P(
    Types, ExceptionNameTest,
    ::testing::Values(NameCase{1, 2, "EXC_BAD_ACCESS", "KERN_PROTECTION_FAILURE"},
                      NameCase{1, 3, "EXC_BAD_ACCESS", nullptr},
                      NameCase{2, 0, "EXC_BAD_INSTRUCTION", "EXC_I386_INVOP"},
                      NameCase{3, 1, "EXC_ARITHMETIC", "EXC_I386_DIV"},
                      NameCase{3, 8, "EXC_ARITHMETIC", "EXC_I386_SSEEXTERR"},
                      NameCase{3, 0, "EXC_ARITHMETIC", nullptr},
                      NameCase{3, 9, "EXC_ARITHMETIC", nullptr},
                      NameCase{6, 0, "EXC_BREAKPOINT", "EXC_I386_DIVERR"},
                      NameCase{6, 8, "EXC_BREAKPOINT", nullptr},
                      NameCase{6, 17, "EXC_BREAKPOINT", "EXC_I386_ALIGNFLT"},
                      NameCase{6, 25, "EXC_BREAKPOINT", nullptr},
                      NameCase{6, 33, "EXC_BREAKPOINT", "EXC_I386_ENDPERR"},
                      NameCase{6, 34, "EXC_BREAKPOINT", nullptr},
                      NameCase{6, -1, "EXC_BREAKPOINT", nullptr},
                      NameCase{12, 5, "EXC_GUARD", nullptr}, NameCase{4, 1, nullptr, nullptr}));

TEST(ExceptionMaskTest, GuardFromVersionCode1070) {
    EXPECT_EQ(exceptionMask(systemVersionCode(6), {}), 0x4Eu);
    EXPECT_EQ(exceptionMask(systemVersionCode(7), {}), 0x104Eu);
    EXPECT_EQ(exceptionMask(systemVersionCode(16), {}), 0x104Eu);
}

TEST(ExceptionMaskTest, SignalsDeliveredAsSignalsAreLeftOut) {
    const std::vector<int> insisted = {SIGSEGV, SIGBUS, SIGTRAP};
    EXPECT_EQ(exceptionMask(1070, insisted), 0x104Eu & ~kMaskBadAccess & ~kMaskBreakpoint);
    // Abort and bad system calls map to EXC_CRASH, which is never registered.
    const std::vector<int> crashOnly = {SIGABRT, SIGSYS, SIGKILL};
    EXPECT_EQ(exceptionMask(1070, crashOnly), 0x104Eu);
}

TEST(SystemVersionCodeTest, ByMinorNumberAlone) {
    EXPECT_EQ(systemVersionCode(5), 0u);
    EXPECT_EQ(systemVersionCode(6), 1060u);
    EXPECT_EQ(systemVersionCode(9), 1090u);
    EXPECT_EQ(systemVersionCode(10), 101000u);
    EXPECT_EQ(systemVersionCode(16), 101600u);
    EXPECT_EQ(systemVersionCode(17), 0u);
}

}  // namespace
}  // namespace tarnwell::crash::mach
