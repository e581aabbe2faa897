#include "crash/MachExceptionTables.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace tarnwell::crash::mach {
namespace {

std::string orNull(const char *text) {
    return text == nullptr ? "null" : text;
}

// The ends of each table and the gaps between its named entries.
TEST(ExceptionNameTest, NamesTypeAndFirstCode) {
    const struct {
        int type;
        int64_t code;
        const char *name, *codeName;
    } cases[] = {{1, 2, "EXC_BAD_ACCESS", "KERN_PROTECTION_FAILURE"},
                 {1, 3, "EXC_BAD_ACCESS", "null"},
                 {2, 0, "EXC_BAD_INSTRUCTION", "EXC_I386_INVOP"},
                 {3, 1, "EXC_ARITHMETIC", "EXC_I386_DIV"},
                 {3, 8, "EXC_ARITHMETIC", "EXC_I386_SSEEXTERR"},
                 {3, 0, "EXC_ARITHMETIC", "null"},
                 {3, 9, "EXC_ARITHMETIC", "null"},
                 {6, 0, "EXC_BREAKPOINT", "EXC_I386_DIVERR"},
                 {6, 8, "EXC_BREAKPOINT", "null"},
                 {6, 17, "EXC_BREAKPOINT", "EXC_I386_ALIGNFLT"},
                 {6, 25, "EXC_BREAKPOINT", "null"},
                 {6, 33, "EXC_BREAKPOINT", "EXC_I386_ENDPERR"},
                 {6, 34, "EXC_BREAKPOINT", "null"},
                 {6, -1, "EXC_BREAKPOINT", "null"},
                 {12, 5, "EXC_GUARD", "null"},
                 {4, 1, "null", "null"}};
    for (const auto &c : cases) {
        EXPECT_EQ(orNull(exceptionName(c.type)), c.name) << c.type;
        EXPECT_EQ(orNull(exceptionCodeName(c.type, c.code)), c.codeName) << c.type << " " << c.code;
    }
}

TEST(ExceptionMaskTest, GuardFromVersionCode1070) {
    EXPECT_EQ(exceptionMask(1060, {}), 0x4Eu);
    EXPECT_EQ(exceptionMask(1070, {}), 0x104Eu);
    EXPECT_EQ(exceptionMask(101600, {}), 0x104Eu);
}

// This kernel's numbers: SIGILL 4, SIGTRAP 5, SIGABRT 6, SIGBUS 7, SIGFPE 8, SIGKILL 9,
// SIGSEGV 11, SIGSYS 31. Abort and bad system calls map to EXC_CRASH (1024), which is
// never registered, so insisting on them changes nothing.
TEST(ExceptionMaskTest, SignalsDeliveredAsSignalsAreLeftOut) {
    const int badAccess[] = {11, 7};
    EXPECT_EQ(exceptionMask(1070, badAccess), 0x104Cu);
    const int eachFault[] = {4, 5, 8};
    EXPECT_EQ(exceptionMask(1070, eachFault), 0x1002u);
    const int crashOnly[] = {6, 31, 9};
    EXPECT_EQ(exceptionMask(1070, crashOnly), 0x104Eu);
    EXPECT_EQ(exceptionMaskForSignal(6), 1024u);
    EXPECT_EQ(exceptionMaskForSignal(31), 1024u);
}

TEST(SystemVersionCodeTest, ByMinorNumberAlone) {
    const std::pair<int, uint32_t> codes[] = {{5, 0},       {6, 1060},    {9, 1090},
                                              {10, 101000}, {16, 101600}, {17, 0}};
    for (const auto &[minor, code] : codes) {
        EXPECT_EQ(systemVersionCode(minor), code) << minor;
    }
}

}  // namespace
}  // namespace tarnwell::crash::mach
