// Costs of the memory layer, each beside the cheapest way to do the same work
// in the same run:
//   refresh            vs  reading the same three /proc files and nothing else
//   a whole cleaning   vs  mmap(MAP_POPULATE) of a block of the same size,
//                          with the other ways to fault a block in alongside.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <future>
#include <mutex>
#include <string>

#include "memory/LinuxMemorySource.h"
#include "memory/QRMMemoryInfo.h"

namespace {

using namespace tarnwell;

void readWhole(const char *path, std::string &buffer) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    buffer.resize(8192);
    size_t used = 0;
    while (true) {
        if (used == buffer.size()) {
            buffer.resize(buffer.size() * 2);
        }
        const ssize_t n = read(fd, buffer.data() + used, buffer.size() - used);
        if (n <= 0) {
            break;
        }
        used += size_t(n);
    }
    close(fd);
    buffer.resize(used);
}

void BM_BareProcRead(benchmark::State &state) {
    std::string meminfo, vmstat, swaps;
    for (auto _ : state) {
        readWhole("/proc/meminfo", meminfo);
        readWhole("/proc/vmstat", vmstat);
        readWhole("/proc/swaps", swaps);
        benchmark::DoNotOptimize(meminfo.data());
        benchmark::DoNotOptimize(vmstat.data());
        benchmark::DoNotOptimize(swaps.data());
    }
}
BENCHMARK(BM_BareProcRead);

void BM_Refresh(benchmark::State &state) {
    QRMMemoryInfo info(std::make_unique<LinuxMemorySource>());
    for (auto _ : state) {
        info.refresh();
    }
}
BENCHMARK(BM_Refresh);

// ---- Cleaning -------------------------------------------------------------

constexpr int64_t kBlockSizes[] = {int64_t{256} << 20, int64_t{2} << 30};

// A record asking for exactly the block size, nothing in the way of the cap.
class FixedRecord : public MemorySource {
public:
    explicit FixedRecord(uint64_t blockBytes) : blockBytes_(blockBytes) {}
    uint64_t physicalMemory() override { return 0; }
    std::optional<uint64_t> hardwareMemorySize() override { return 0; }
    std::optional<uint64_t> hardwarePhysicalMemory() override { return 0; }
    MemorySample sample() override {
        VmStatistics s;
        s.pageSize = 4096;
        s.freeCount = uint32_t(blockBytes_ / 4096 - 1);
        s.inactiveCount = 1;
        s.availableBytes = UINT64_MAX;
        return {0, s, std::nullopt, {}};
    }

private:
    uint64_t blockBytes_;
};

void setThroughput(benchmark::State &state) {
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_CleaningEngine(benchmark::State &state) {
    QRMMemoryInfo engine(std::make_unique<FixedRecord>(uint64_t(state.range(0))));
    // Each cleaning gets a promise of its own, shared with the observer that
    // may still be inside set_value when the wait returns.
    std::shared_ptr<std::promise<void>> cleaned;
    std::mutex cleanedMutex;
    engine.addMemoryCleanedObserver([&] {
        std::lock_guard lock(cleanedMutex);
        cleaned->set_value();
    });
    for (auto _ : state) {
        std::future<void> done;
        {
            std::lock_guard lock(cleanedMutex);
            cleaned = std::make_shared<std::promise<void>>();
            done = cleaned->get_future();
        }
        if (!engine.cleanMemoryNow().started()) {
            state.SkipWithError("the engine declined");
            break;
        }
        done.wait();
    }
    setThroughput(state);
}

// The baseline: the kernel faults the whole block in during mmap itself.
void BM_MapPopulate(benchmark::State &state) {
    const size_t bytes = size_t(state.range(0));
    for (auto _ : state) {
        void *block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        if (block == MAP_FAILED) {
            state.SkipWithError("mmap failed");
            break;
        }
        munmap(block, bytes);
    }
    setThroughput(state);
}

// What the engine did first: a heap block zero-filled in one call.
void BM_MallocMemset(benchmark::State &state) {
    const size_t bytes = size_t(state.range(0));
    for (auto _ : state) {
        void *block = malloc(bytes);
        // GCC fuses malloc and a following zero memset into calloc, which
        // hands back fresh zero pages untouched; hide the pointer so the
        // memset really runs, and keep its stores alive.
        benchmark::DoNotOptimize(block);
        std::memset(block, 0, bytes);
        benchmark::ClobberMemory();
        free(block);
    }
    setThroughput(state);
}

void BM_MmapTouchEachPage(benchmark::State &state) {
    const size_t bytes = size_t(state.range(0));
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    for (auto _ : state) {
        void *block =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        volatile char *p = static_cast<volatile char *>(block);
        for (size_t offset = 0; offset < bytes; offset += page) {
            p[offset] = 0;
        }
        munmap(block, bytes);
    }
    setThroughput(state);
}

// The reserved block replaced, on the cleaning thread, by a populated
// mapping at the same address.
void BM_MmapThenFixedPopulate(benchmark::State &state) {
    const size_t bytes = size_t(state.range(0));
    for (auto _ : state) {
        void *block =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        void *populated = mmap(block, bytes, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_POPULATE, -1, 0);
        if (populated == MAP_FAILED) {
            state.SkipWithError("mmap failed");
            break;
        }
        munmap(block, bytes);
    }
    setThroughput(state);
}

void BM_MmapPopulateWrite(benchmark::State &state) {
    const size_t bytes = size_t(state.range(0));
    for (auto _ : state) {
        void *block =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (madvise(block, bytes, MADV_POPULATE_WRITE) != 0) {
            munmap(block, bytes);
            state.SkipWithError(errno == EINVAL ? "MADV_POPULATE_WRITE needs Linux 5.14"
                                                : "madvise failed");
            break;
        }
        munmap(block, bytes);
    }
    setThroughput(state);
}

void blockSizes(benchmark::internal::Benchmark *benchmark) {
    for (int64_t bytes : kBlockSizes) {
        benchmark->Arg(bytes);
    }
    benchmark->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_MapPopulate)->Apply(blockSizes);
BENCHMARK(BM_CleaningEngine)->Apply(blockSizes);
BENCHMARK(BM_MallocMemset)->Apply(blockSizes);
// Measured at 256 MiB only: a page fault per page runs at a tenth of the
// speed of the others here, and 2 GiB would take minutes.
BENCHMARK(BM_MmapTouchEachPage)
    ->Arg(int64_t{256} << 20)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_MmapThenFixedPopulate)->Apply(blockSizes);
BENCHMARK(BM_MmapPopulateWrite)->Apply(blockSizes);

}  // namespace

BENCHMARK_MAIN();
