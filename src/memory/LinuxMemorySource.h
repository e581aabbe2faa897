#pragma once

#include <filesystem>
#include <memory>

#include "MemorySource.h"
#include "ProcParsers.h"

namespace tarnwell {

// Reads the statistics from /proc and /sys. Both roots are parameters so that
// tests point the source at captured files.
class LinuxMemorySource : public MemorySource {
public:
    // What sysconf reports; fixed for the life of the process.
    struct SystemPages {
        int32_t pageSize;
        uint64_t physicalPages;
        static SystemPages current();
    };

    LinuxMemorySource(std::filesystem::path procRoot = "/proc",
                      std::filesystem::path sysRoot = "/sys",
                      SystemPages system = SystemPages::current());

    // The machine captured under root (its "proc" and "sys" folders), so
    // support can replay a user's figures; this machine when root is null or
    // empty.
    static std::unique_ptr<LinuxMemorySource> underRoot(const char *root);

    uint64_t physicalMemory() override;
    std::optional<uint64_t> hardwareMemorySize() override;
    std::optional<uint64_t> hardwarePhysicalMemory() override;
    MemorySample sample() override;

private:
    // Empty when the file cannot be used; problem then says why.
    std::optional<proc::MeminfoFields> readMeminfo(std::string *problem = nullptr) const;
    std::optional<VmStatistics> vmStatistics(const proc::MeminfoFields &meminfo,
                                             std::string &problem) const;
    std::optional<SwapUsage> swapUsage(const proc::MeminfoFields &meminfo) const;
    std::optional<uint64_t> onlineMemoryBlockBytes() const;
    bool isDmCryptDevice(const std::string &devicePath) const;

    std::filesystem::path procRoot_;
    std::filesystem::path sysRoot_;
    SystemPages system_;
};

}  // namespace tarnwell
