// One refresh-and-redraw cycle of the controller: sample the real /proc,
// retitle the status item and the menu and draw the icon, against the bare
// sample alone in the same run.
#include <benchmark/benchmark.h>

#include <QGuiApplication>

#include "AppFakes.h"
#include "memory/QRMMemoryInfo.h"

using namespace tarnwell;
using namespace tarnwell::testing;

namespace {

void BM_RefreshOnly(benchmark::State &state) {
    QRMMemoryInfoEngine engine(QRMMemoryInfo::sharedMemoryInfo());
    for (auto _ : state) {
        engine.refresh();
        benchmark::DoNotOptimize(engine.info());
    }
}
BENCHMARK(BM_RefreshOnly)->Unit(benchmark::kMicrosecond);

// Argument: the status icon type (0 blank, 3 black pie, 4 colour pie).
void BM_RefreshAndRedraw(benchmark::State &state) {
    QRMMemoryInfoEngine engine(QRMMemoryInfo::sharedMemoryInfo());
    FakeSettings settings;
    settings.iconType = state.range(0);
    FakeStatusItem statusItem;
    FakeNotifier notifier;
    FakeUrlOpener urlOpener;
    QRMAppDelegate delegate(QRMAppDelegate::Services{
        engine, settings, fakeLocalizer(), urlOpener, &statusItem, &notifier, {}, nullptr});
    delegate.awakeFromNib();
    for (auto _ : state) {
        delegate.refreshMemoryInfo();
    }
    state.counters["images"] = double(statusItem.images);
}
BENCHMARK(BM_RefreshAndRedraw)->Arg(0)->Arg(3)->Arg(4)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
