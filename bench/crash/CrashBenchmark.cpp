// Costs the crash kit adds to a running process, each beside a baseline in the same run:
// the image watcher's once-a-second look at the loader against one plain walk of the
// loaded images, and a signal record written by the record writer against the same text
// formatted by snprintf and written at once, and a thread started with its own resident
// signal stack against a bare std::thread.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <thread>

#include "crash/BinaryImageLog.h"
#include "crash/ImageTable.h"
#include "crash/RecordWriter.h"
#include "threads/StartThread.h"

namespace tarnwell::crash {
namespace {

void BM_LoaderWalkBaseline(benchmark::State &state) {
    for (auto _ : state) {
        int images = 0;
        dl_iterate_phdr(
            [](dl_phdr_info *, size_t, void *count) -> int {
                ++*static_cast<int *>(count);
                return 0;
            },
            &images);
        benchmark::DoNotOptimize(images);
    }
}
BENCHMARK(BM_LoaderWalkBaseline);

void BM_ImageLogRefreshUnchanged(benchmark::State &state) {
    auto table = std::make_unique<ImageTable>();
    char path[] = "/tmp/tarnwell-bench-XXXXXX";
    const int fd = mkstemp(path);
    BinaryImageLog log(*table, path);
    log.start();
    for (auto _ : state) {
        log.refresh();
    }
    close(fd);
    unlink(path);
}
BENCHMARK(BM_ImageLogRefreshUnchanged);

void BM_SignalRecordSnprintfBaseline(benchmark::State &state) {
    const int fd = open("/dev/null", O_WRONLY);
    char line[256];
    for (auto _ : state) {
        const int length = snprintf(
            line, sizeof line,
            "{\"signal\":{\"number\":%d,\"code\":%d,\"address\":%lu,\"name\":\"%s\",\"code_name\":"
            "null,\"errno\":%d,\"time\":%lu}}\n",
            11, 1, 0UL, "SIGSEGV", 0, 1700000000UL);
        benchmark::DoNotOptimize(write(fd, line, size_t(length)));
    }
    close(fd);
}
BENCHMARK(BM_SignalRecordSnprintfBaseline);

void BM_SignalRecordWriter(benchmark::State &state) {
    RecordWriter writer;
    writer.open("/dev/null", true, state.range(0) != 0);
    for (auto _ : state) {
        writer.beginKeyedObject("signal");
        writer.beginObject();
        writer.writeUnsigned("number", 11);
        writer.writeSigned("code", 1);
        writer.writeUnsigned("address", 0);
        writer.writeString("name", "SIGSEGV");
        writer.writeString("code_name", nullptr);
        writer.writeSigned("errno", 0);
        writer.writeUnsigned("time", 1700000000);
        writer.endObject();
        writer.endRecord();
    }
    writer.close();
}
BENCHMARK(BM_SignalRecordWriter)->ArgName("buffered")->Arg(0)->Arg(1);

void BM_StdThreadBaseline(benchmark::State &state) {
    for (auto _ : state) {
        std::thread([] {}).join();
    }
}
BENCHMARK(BM_StdThreadBaseline);

void BM_StartThreadWithSignalStack(benchmark::State &state) {
    for (auto _ : state) {
        threads::startThread([] {}).join();
    }
}
BENCHMARK(BM_StartThreadWithSignalStack);

}  // namespace
}  // namespace tarnwell::crash

BENCHMARK_MAIN();
