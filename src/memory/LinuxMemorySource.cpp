#include "LinuxMemorySource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// Far more than any of the kernel's memory files holds; a captured folder may
// hold anything.
constexpr size_t kMaxFileBytes = 1 << 20;

// Plain read(2) into one buffer: /proc files report a size of 0, so read
// until the end, and iostreams cost more than the kernel takes to produce the
// text. A file that is not a regular one (a FIFO or a device in a captured
// folder) is refused before anything is read from it.
std::optional<std::string> readFile(const fs::path &path, std::string *problem = nullptr) {
    const auto fail = [problem](std::string why) -> std::optional<std::string> {
        if (problem) {
            *problem = std::move(why);
        }
        return std::nullopt;
    };
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (fd < 0) {
        return fail(std::string("cannot open: ") + std::strerror(errno));
    }
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(fd);
        return fail("not a regular file");
    }
    std::string contents(8192, '\0');
    size_t used = 0;
    while (true) {
        if (used == contents.size()) {
            if (contents.size() >= kMaxFileBytes) {
                close(fd);
                return fail("larger than 1 MiB");
            }
            contents.resize(contents.size() * 2);
        }
        const ssize_t n = read(fd, contents.data() + used, contents.size() - used);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            const int error = errno;
            close(fd);
            return fail(std::string("cannot read: ") + std::strerror(error));
        }
        if (n == 0) {
            break;
        }
        used += static_cast<size_t>(n);
    }
    close(fd);
    contents.resize(used);
    return contents;
}

std::string firstLine(const std::string &text) {
    return text.substr(0, text.find('\n'));
}

// The fields of one kernel file; empty when it cannot be read or parsed, and
// problem then names the file and what is wrong with it (the key, for a
// parse error).
template <class Parse>
auto readParsed(const fs::path &path, Parse parse, std::string &problem)
    -> std::optional<std::variant_alternative_t<0, decltype(parse(std::string_view()))>> {
    std::string why;
    if (const auto text = readFile(path, &why)) {
        auto result = parse(*text);
        if (auto *fields = std::get_if<0>(&result)) {
            return std::move(*fields);
        }
        why = std::get<proc::ParseError>(result).message;
    }
    problem = path.string() + ": " + why;
    return std::nullopt;
}

// Bytes of "wired" memory: what the kernel holds and will not give up under
// pressure, the nearest Linux has to the wired page class.
uint64_t wiredBytes(const proc::MeminfoFields &meminfo) {
    return meminfo.unevictableBytes + meminfo.sUnreclaimBytes + meminfo.kernelStackBytes +
           meminfo.pageTablesBytes;
}

// Kernels before 3.14 do not report MemAvailable. The kernel's own estimate
// is free memory plus the page cache and reclaimable slab, each less the
// smaller of its half and the low watermark; without the watermarks at hand
// assume the worst case, half of each, so the cleaning cap stays on the safe
// side.
uint64_t estimatedAvailableBytes(const proc::MeminfoFields &meminfo) {
    const uint64_t pageCache = meminfo.activeFileBytes + meminfo.inactiveFileBytes;
    return meminfo.memFreeBytes + pageCache / 2 + meminfo.sReclaimableBytes / 2;
}

}  // namespace

LinuxMemorySource::SystemPages LinuxMemorySource::SystemPages::current() {
    const long pageSize = sysconf(_SC_PAGESIZE);
    const long physicalPages = sysconf(_SC_PHYS_PAGES);
    return {static_cast<int32_t>(pageSize > 0 ? pageSize : 4096),
            static_cast<uint64_t>(physicalPages > 0 ? physicalPages : 0)};
}

LinuxMemorySource::LinuxMemorySource(fs::path procRoot, fs::path sysRoot, SystemPages system)
    : procRoot_(std::move(procRoot)), sysRoot_(std::move(sysRoot)), system_(system) {}

std::unique_ptr<LinuxMemorySource> LinuxMemorySource::underRoot(const char *root) {
    if (root == nullptr || *root == '\0') {
        return std::make_unique<LinuxMemorySource>();
    }
    const fs::path base(root);
    SystemPages pages = SystemPages::current();
    pages.physicalPages = 0;
    auto source = std::make_unique<LinuxMemorySource>(base / "proc", base / "sys", pages);
    // glibc counts _SC_PHYS_PAGES from the kernel's total of usable RAM, the
    // figure MemTotal reports, so the captured MemTotal stands in for it.
    source->system_.physicalPages =
        source->hardwarePhysicalMemory().value_or(0) / static_cast<uint64_t>(pages.pageSize);
    return source;
}

uint64_t LinuxMemorySource::physicalMemory() {
    return system_.physicalPages * static_cast<uint64_t>(system_.pageSize);
}

std::optional<proc::MeminfoFields> LinuxMemorySource::readMeminfo(std::string *problem) const {
    std::string ignored;
    return readParsed(procRoot_ / "meminfo", proc::parseMeminfo, problem ? *problem : ignored);
}

// Installed memory is the sum of the online memory blocks: unlike MemTotal it
// includes what the firmware and the kernel image reserved at boot.
std::optional<uint64_t> LinuxMemorySource::onlineMemoryBlockBytes() const {
    const fs::path memory = sysRoot_ / "devices/system/memory";
    const auto blockSizeText = readFile(memory / "block_size_bytes");
    if (!blockSizeText) {
        return std::nullopt;
    }
    const std::string hex = firstLine(*blockSizeText);
    uint64_t blockSize = 0;
    const auto [end, error] = std::from_chars(hex.data(), hex.data() + hex.size(), blockSize, 16);
    if (error != std::errc() || end != hex.data() + hex.size() || blockSize == 0) {
        return std::nullopt;
    }
    std::error_code ignored;
    uint64_t onlineBlocks = 0;
    for (const auto &entry : fs::directory_iterator(memory, ignored)) {
        if (!entry.path().filename().string().starts_with("memory")) {
            continue;
        }
        const auto online = readFile(entry.path() / "online");
        if (online && firstLine(*online) == "1") {
            ++onlineBlocks;
        }
    }
    if (onlineBlocks == 0) {
        return std::nullopt;
    }
    return onlineBlocks * blockSize;
}

std::optional<uint64_t> LinuxMemorySource::hardwareMemorySize() {
    if (const auto installed = onlineMemoryBlockBytes()) {
        return installed;
    }
    return hardwarePhysicalMemory();
}

std::optional<uint64_t> LinuxMemorySource::hardwarePhysicalMemory() {
    const auto meminfo = readMeminfo();
    if (!meminfo) {
        return std::nullopt;
    }
    return meminfo->memTotalBytes;
}

MemorySample LinuxMemorySource::sample() {
    MemorySample sample;
    const auto meminfo = readMeminfo(&sample.problem);
    if (!meminfo) {
        return sample;
    }
    const uint64_t wired = wiredBytes(*meminfo);
    sample.userMemory = meminfo->memTotalBytes > wired ? meminfo->memTotalBytes - wired : 0;
    sample.vmStatistics = vmStatistics(*meminfo, sample.problem);
    sample.swapUsage = swapUsage(*meminfo);
    return sample;
}

std::optional<VmStatistics> LinuxMemorySource::vmStatistics(const proc::MeminfoFields &meminfo,
                                                            std::string &problem) const {
    const auto vmstat = readParsed(procRoot_ / "vmstat", proc::parseVmstat, problem);
    if (!vmstat) {
        return std::nullopt;
    }
    const uint64_t pageSize = static_cast<uint64_t>(system_.pageSize);
    // Page classes are 32-bit counts in the record, as on the platform the
    // record was first defined for.
    const auto pages = [pageSize](uint64_t bytes) {
        return static_cast<uint32_t>(bytes / pageSize);
    };

    VmStatistics statistics;
    statistics.pageSize = system_.pageSize;
    statistics.freeCount = pages(meminfo.memFreeBytes);
    statistics.activeCount = pages(meminfo.activeBytes);
    statistics.inactiveCount = pages(meminfo.inactiveBytes);
    statistics.wireCount = pages(wiredBytes(meminfo));
    statistics.faults = vmstat->pgfault;
    statistics.reactivations = vmstat->pgactivate;
    statistics.pageins = vmstat->pgmajfault;
    statistics.pageouts = vmstat->pswpout;
    statistics.purges = vmstat->pgstealKswapd + vmstat->pgstealDirect;
    statistics.swapins = vmstat->pswpin;
    statistics.swapouts = vmstat->pswpout;
    statistics.decompressions = vmstat->zswpin;
    statistics.compressions = vmstat->zswpout;
    statistics.externalPageCount = pages(meminfo.activeFileBytes + meminfo.inactiveFileBytes);
    statistics.internalPageCount = pages(meminfo.activeAnonBytes + meminfo.inactiveAnonBytes);
    statistics.compressorPageCount = pages(meminfo.zswapBytes);
    statistics.totalUncompressedPagesInCompressor = meminfo.zswappedBytes / pageSize;
    statistics.availableBytes =
        meminfo.memAvailableBytes ? *meminfo.memAvailableBytes : estimatedAvailableBytes(meminfo);
    return statistics;
}

bool LinuxMemorySource::isDmCryptDevice(const std::string &devicePath) const {
    // dm-crypt targets carry a device-mapper UUID that starts with "CRYPT-".
    const auto hasCryptUuid = [](const fs::path &blockDevice) {
        const auto uuid = readFile(blockDevice / "dm/uuid");
        return uuid && uuid->starts_with("CRYPT-");
    };
    const fs::path path(devicePath);
    const std::string name = path.filename().string();
    if (name.starts_with("dm-")) {
        return hasCryptUuid(sysRoot_ / "block" / name);
    }
    if (path.parent_path() == "/dev/mapper") {
        std::error_code ignored;
        for (const auto &entry : fs::directory_iterator(sysRoot_ / "block", ignored)) {
            const auto mapperName = readFile(entry.path() / "dm/name");
            if (mapperName && firstLine(*mapperName) == name) {
                return hasCryptUuid(entry.path());
            }
        }
    }
    return false;
}

std::optional<SwapUsage> LinuxMemorySource::swapUsage(const proc::MeminfoFields &meminfo) const {
    // Swap stays out of the sample's problem: a kernel built without swap has
    // no /proc/swaps at all, and the figures people watch do not depend on it.
    std::string ignored;
    const auto areas = readParsed(procRoot_ / "swaps", proc::parseSwaps, ignored);
    if (!areas) {
        return std::nullopt;
    }
    SwapUsage usage;
    usage.totalBytes = meminfo.swapTotalBytes;
    usage.availableBytes = meminfo.swapFreeBytes;
    usage.usedBytes = meminfo.swapTotalBytes > meminfo.swapFreeBytes
                          ? meminfo.swapTotalBytes - meminfo.swapFreeBytes
                          : 0;
    usage.pageSize = static_cast<uint32_t>(system_.pageSize);
    // Swap files are not inspected: only a swap area on a dm-crypt device
    // counts as encrypted.
    usage.encrypted = !areas->empty();
    for (const proc::SwapArea &area : *areas) {
        usage.encrypted = usage.encrypted && area.type == "partition" && isDmCryptDevice(area.path);
    }
    return usage;
}

}  // namespace tarnwell
