#include "memory/LinuxMemorySource.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include "CaseName.h"

namespace tarnwell {
namespace {

// Expected figures were worked out by hand from each capture: meminfo's kB
// times 1024, divided by the 4 KiB page for counts.
struct Capture {
    const char *name;
    const char *folder;
    uint64_t hardwareMemorySize;
    uint64_t hardwarePhysicalMemory;
    uint64_t userMemory;
    uint32_t freeCount, activeCount, inactiveCount, wireCount;
    uint32_t externalPageCount, internalPageCount, compressorPageCount;
    uint64_t totalUncompressedPagesInCompressor;
    uint64_t faults, reactivations, pageins, pageouts, purges, swapins, compressions,
        decompressions;
    uint64_t availableBytes;
    uint64_t swapTotal, swapAvailable, swapUsed;
    bool swapEncrypted;
};

// Rows group the figures as the struct does: hardware and user memory; page
// classes; event counters; available memory and swap.
// clang-format off
const Capture kCaptures[] = {
    // No swap, no zswap in use; three online memory blocks of 128 MiB in /sys.
    {"Debian12NoSwap", "debian12-6.18-noswap",
     3 * 134217728ull, 25276026880ull,
     25230782464ull,  // (24683620 - (17924 + 22904 + 1528 + 1828)) kB
     6031331, 41545, 50780, 11046, 88276, 4049, 0, 0,
     3889707, 143405, 1828, 0, 0, 0, 0, 0,
     24893001728ull, 0, 0, 0, false},
    // zswap holding pages, swap on dm-crypt; no memory blocks in /sys, so the
    // installed size falls back to MemTotal.
    {"LaptopZswapCryptSwap", "laptop-6.1-zswap-cryptswap",
     16588312576ull, 16588312576ull,
     15866310656ull,  // (16199524 - (262740 + 289528 + 34336 + 118476)) kB
     128077, 2433625, 1096323, 176270, 1036922, 2493026, 154632, 542720,
     918273645, 40213377, 1203344, 86213,
     25329308,  // 23451987 + 1877321
     10452, 5830112, 2318845,
     4016001024ull, 8589930496ull, 5328334848ull, 3261595648ull, true},
    // Linux 3.2: no MemAvailable (estimated as MemFree + half the file pages
    // + half SReclaimable), per-zone steal counters, a swap file, and a
    // meminfo without its final newline.
    {"Debian7NoMemAvailable", "debian7-3.2-no-memavailable",
     4146982912ull, 4146982912ull, 4074147840ull,
     75301, 526084, 327868, 17782, 512223, 341729, 0, 0,
     240193867, 3912045, 31409, 15732,
     2182297,  // 1741230 + 412881 + 23009 + 5177
     4081, 0, 0,
     1467994112ull,  // (301204 + (1116224 + 932668) / 2 + 215876 / 2) kB
     1073737728ull, 1011355648ull, 62382080ull, false},
};
// clang-format on

class LinuxCapture : public testing::TestWithParam<Capture> {
protected:
    LinuxMemorySource source() const {
        const std::filesystem::path root =
            std::filesystem::path(TARNWELL_TEST_DATA_DIR) / "memory" / GetParam().folder;
        return LinuxMemorySource(root / "proc", root / "sys", {4096, 1000});
    }
};

TEST_P(LinuxCapture, Figures) {
    auto memory = source();
    const Capture &c = GetParam();
    EXPECT_EQ(memory.physicalMemory(), 4096u * 1000);
    EXPECT_EQ(memory.hardwareMemorySize(), c.hardwareMemorySize);
    EXPECT_EQ(memory.hardwarePhysicalMemory(), c.hardwarePhysicalMemory);
    const MemorySample sample = memory.sample();
    EXPECT_EQ(sample.userMemory, c.userMemory);
    ASSERT_TRUE(sample.vmStatistics && sample.swapUsage);
    const VmStatistics &s = *sample.vmStatistics;
    EXPECT_EQ(s.pageSize, 4096);
    EXPECT_EQ(std::tuple(s.freeCount, s.activeCount, s.inactiveCount, s.wireCount),
              std::tuple(c.freeCount, c.activeCount, c.inactiveCount, c.wireCount));
    EXPECT_EQ(std::tuple(s.externalPageCount, s.internalPageCount, s.compressorPageCount,
                         s.totalUncompressedPagesInCompressor),
              std::tuple(c.externalPageCount, c.internalPageCount, c.compressorPageCount,
                         c.totalUncompressedPagesInCompressor));
    EXPECT_EQ(std::tuple(s.faults, s.reactivations, s.pageins, s.pageouts, s.swapouts, s.purges,
                         s.swapins, s.compressions, s.decompressions),
              std::tuple(c.faults, c.reactivations, c.pageins, c.pageouts, c.pageouts, c.purges,
                         c.swapins, c.compressions, c.decompressions));
    EXPECT_EQ(s.availableBytes, c.availableBytes);
    // Counters Linux has no source for.
    EXPECT_EQ(s.zeroFillCount + s.cowFaults + s.lookups + s.hits, 0u);
    EXPECT_EQ(s.purgeableCount + s.speculativeCount + s.throttledCount, 0u);
    const SwapUsage &swap = *sample.swapUsage;
    EXPECT_EQ(std::tuple(swap.totalBytes, swap.availableBytes, swap.usedBytes, swap.pageSize,
                         swap.encrypted),
              std::tuple(c.swapTotal, c.swapAvailable, c.swapUsed, 4096u, c.swapEncrypted));
}

INSTANTIATE_TEST_SUITE_P(Captures, LinuxCapture, testing::ValuesIn(kCaptures),
                         tarnwell::test::caseName);

struct SwapAreas {
    const char *name;
    const char *swaps;
    bool encrypted;
};

class SwapEncryption : public testing::TestWithParam<SwapAreas> {};

// Swap counts as encrypted only when every area is on a dm-crypt device; the
// laptop's /sys has dm-1 as "cryptswap" (CRYPT-) and dm-0 as an LVM volume.
// The captures themselves cover a lone dm-crypt area, a swap file and no swap.
TEST_P(SwapEncryption, OnlyWhenEveryAreaIsDmCrypt) {
    namespace fs = std::filesystem;
    const fs::path capture =
        fs::path(TARNWELL_TEST_DATA_DIR) / "memory" / "laptop-6.1-zswap-cryptswap";
    const fs::path root = fs::temp_directory_path() /
                          ("tarnwell-swaps-" + std::to_string(getpid()) + GetParam().name);
    fs::create_directories(root / "proc");
    fs::copy_file(capture / "proc/meminfo", root / "proc/meminfo");
    std::ofstream(root / "proc/swaps") << "Filename\tType\tSize\tUsed\tPriority\n"
                                       << GetParam().swaps;
    LinuxMemorySource memory(root / "proc", capture / "sys", {4096, 10});
    const auto swap = memory.sample().swapUsage;
    fs::remove_all(root);
    ASSERT_TRUE(swap.has_value());
    EXPECT_EQ(swap->encrypted, GetParam().encrypted);
}

INSTANTIATE_TEST_SUITE_P(
    Areas, SwapEncryption,
    testing::Values(SwapAreas{"MapperName", "/dev/mapper/cryptswap partition 8 0 -2\n", true},
                    SwapAreas{"LvmVolume", "/dev/dm-0 partition 8 0 -2\n", false},
                    SwapAreas{"CryptAndZram",
                              "/dev/dm-1 partition 8 0 -2\n/dev/zram0 partition 8 0 100\n", false}),
    tarnwell::test::caseName);

// Replaying a capture reads nothing of this machine: _SC_PHYS_PAGES, which
// glibc takes from the same kernel total as MemTotal, comes from the capture.
TEST(LinuxMemorySource, UnderACapturedRootPhysicalMemoryIsItsMemTotal) {
    const auto memory =
        LinuxMemorySource::underRoot(TARNWELL_TEST_DATA_DIR "/memory/laptop-6.1-zswap-cryptswap");
    EXPECT_EQ(memory->physicalMemory(), 16199524ull * 1024);
}

TEST(LinuxMemorySource, FailsEverySampleWithoutProc) {
    LinuxMemorySource memory("/nonexistent/proc", "/nonexistent/sys", {4096, 10});
    const MemorySample sample = memory.sample();
    EXPECT_FALSE(sample.vmStatistics.has_value());
    EXPECT_FALSE(sample.swapUsage.has_value());
    EXPECT_FALSE(sample.userMemory.has_value());
    EXPECT_FALSE(memory.hardwareMemorySize().has_value());
    EXPECT_FALSE(memory.hardwarePhysicalMemory().has_value());
}

}  // namespace
}  // namespace tarnwell
