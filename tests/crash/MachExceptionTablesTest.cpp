#include "crash/MachExceptionTables.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <utility>

namespace tarnwell::crash::mach {
namespace {

std::string orNull(const char *text) {
    return text == nullptr ? "-" : text;
}

// The ends of each table and the gaps between its named entries: each type with its
// name, then "code:name" for each first code tried ("-" stands for null).
TEST(ExceptionNameTest, NamesTypeAndFirstCode) {
    const std::tuple<int, const char *, const char *> types[] = {
        {1, "EXC_BAD_ACCESS", "2:KERN_PROTECTION_FAILURE 3:-"},
        {2, "EXC_BAD_INSTRUCTION", "0:EXC_I386_INVOP"},
        {3, "EXC_ARITHMETIC", "0:- 1:EXC_I386_DIV 8:EXC_I386_SSEEXTERR 9:-"},
        {6, "EXC_BREAKPOINT",
         "-1:- 0:EXC_I386_DIVERR 8:- 17:EXC_I386_ALIGNFLT 25:- 33:EXC_I386_ENDPERR 34:-"},
        {12, "EXC_GUARD", "5:-"},
        {4, "-", "1:-"}};
    for (const auto &[type, name, codes] : types) {
        EXPECT_EQ(orNull(exceptionName(type)), name);
        std::istringstream pairs(codes);
        std::string codeName;
        for (int64_t code; pairs >> code && pairs.ignore(1) >> codeName;) {
            EXPECT_EQ(orNull(exceptionCodeName(type, code)), codeName) << type << " " << code;
        }
    }
}

// This kernel's numbers: SIGILL 4, SIGTRAP 5, SIGABRT 6, SIGBUS 7, SIGFPE 8, SIGKILL 9,
// SIGSEGV 11, SIGSYS 31. Abort and bad system calls map to EXC_CRASH (1024), which is
// never registered, so insisting on them changes nothing.
// The version code comes from the minor number alone.
TEST(ExceptionMaskTest, GuardFromVersionCode1070LessSignalsDeliveredAsSignals) {
    const std::pair<int, uint32_t> codes[] = {{5, 0},       {6, 1060},    {9, 1090},
                                              {10, 101000}, {16, 101600}, {17, 0}};
    for (const auto &[minor, code] : codes) {
        EXPECT_EQ(systemVersionCode(minor), code) << minor;
    }
    EXPECT_EQ(exceptionMask(1060, {}), 0x4Eu);
    EXPECT_EQ(exceptionMask(1070, {}), 0x104Eu);
    EXPECT_EQ(exceptionMask(101600, {}), 0x104Eu);
    const int badAccess[] = {11, 7}, eachFault[] = {4, 5, 8}, crashOnly[] = {6, 31, 9};
    EXPECT_EQ(exceptionMask(1070, badAccess), 0x104Cu);
    EXPECT_EQ(exceptionMask(1070, eachFault), 0x1002u);
    EXPECT_EQ(exceptionMask(1070, crashOnly), 0x104Eu);
    EXPECT_EQ(exceptionMaskForSignal(6), 1024u);
    EXPECT_EQ(exceptionMaskForSignal(31), 1024u);
}

}  // namespace
}  // namespace tarnwell::crash::mach
