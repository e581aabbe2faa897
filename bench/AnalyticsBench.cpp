// Logging a usage event must cost the caller only the building of the event
// and a hand-off to the kit's worker; the worker then pays for the file. The
// baseline in the same run is a bare loop appending the same line to a file.
#include <fcntl.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "analytics/EVTConfiguration.h"
#include "analytics/EVTEvent.h"
#include "analytics/EVTEvents.h"
#include "analytics/EVTEventsController.h"

namespace {

using namespace tarnwell;

const EVTAttributes kAttributes{
    {"Bundle Version", "1.0.0"}, {"Bundle Build", "1"}, {"Memory Installed", "16.00 GB"}};

// A started kit with no endpoint: events are written, rotated, compressed and
// packaged, and the packaged files stay on disk.
struct Kit {
    // rotate: rotate at the default size limit (compress and package every
    // few dozen events); otherwise the limit is raised so only appends count.
    explicit Kit(bool rotate = true) {
        EVTConfiguration configuration;
        configuration.rootDirectory = dir.filePath("analytics");
        if (!rotate) {
            QDir().mkpath(configuration.rootDirectory);
            QFile settings(configuration.rootDirectory + "/settings.json");
            settings.open(QIODevice::WriteOnly);
            settings.write(R"({"analytics": {"max_byte_size_per_file": 1000000000}})");
        }
        configuration.bundleIdentifier = "app.tarnwell.Tarnwell";
        EVTEvents::setCollectionEnabled(true);
        EVTEvents::start(configuration)->waitUntilIdle();
    }
    ~Kit() { EVTEvents::stop(); }
    QTemporaryDir dir;
};

void BM_LogEventCallerSide(benchmark::State &state) {
    Kit kit;
    for (auto _ : state) {
        EVTEvents::logCustomEventWithName(QStringLiteral("Memory is Cleaned"), kAttributes);
    }
    // Outside the timed loop: the worker catches up before the next run.
    EVTEvents::controller()->waitUntilIdle();
    state.SetItemsProcessed(state.iterations());
}
// A bounded count, so the queue behind the caller stays a realistic size.
BENCHMARK(BM_LogEventCallerSide)->Iterations(20000)->Repetitions(3)->ReportAggregatesOnly();

void BM_EventsRecordedToFile(benchmark::State &state) {
    Kit kit(state.range(1) != 0);
    const int batch = static_cast<int>(state.range(0));
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            EVTEvents::logCustomEventWithName(QStringLiteral("Memory is Cleaned"), kAttributes);
        }
        EVTEvents::controller()->waitUntilIdle();
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(BM_EventsRecordedToFile)
    ->ArgNames({"events", "rotate"})
    ->Args({1000, 1})
    ->Args({1000, 0})
    ->UseRealTime();

// Baseline: the same line appended to an open file, one write a line.
void BM_BareAppendLoop(benchmark::State &state) {
    QTemporaryDir dir;
    const QByteArray line = EVTEvent::custom("Memory is Cleaned", kAttributes).line();
    const QByteArray path = QDir(dir.path()).filePath("bare.log").toLocal8Bit();
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    const int batch = static_cast<int>(state.range(0));
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            benchmark::DoNotOptimize(::write(fd, line.constData(), line.size()));
        }
    }
    ::close(fd);
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(BM_BareAppendLoop)->Arg(1000)->UseRealTime();

// The caller's share that is not the hand-off: making the event object.
void BM_MakeEventOnly(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(EVTEvent::custom("Memory is Cleaned", kAttributes));
    }
}
BENCHMARK(BM_MakeEventOnly);

}  // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
