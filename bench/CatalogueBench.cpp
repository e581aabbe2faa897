// The applications catalogue's search over this machine's real desktop
// entries (every XDG applications folder) against a bare walk of the same
// folders that only lists the .desktop files: the difference is reading and
// parsing the entries. The index the window monitor builds at each start runs
// beside them.
#include <benchmark/benchmark.h>

#include <QDirIterator>

#include "platform/linux/DesktopApplicationIndex.h"
#include "platform/linux/QRMApplicationsInfo.h"

namespace {

using namespace tarnwell;

void BM_BareDirectoryWalk(benchmark::State &state) {
    const QStringList folders = applicationFolders();
    qsizetype files = 0;
    for (auto _ : state) {
        files = 0;
        for (const QString &folder : folders) {
            QDirIterator it(folder, {QStringLiteral("*.desktop")}, QDir::Files,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                benchmark::DoNotOptimize(it.next());
                ++files;
            }
        }
    }
    state.counters["files"] = double(files);
}
BENCHMARK(BM_BareDirectoryWalk)->Unit(benchmark::kMicrosecond);

void BM_CatalogueSearch(benchmark::State &state) {
    qsizetype applications = 0;
    for (auto _ : state) {
        QRMApplicationsInfo catalogue(QRMApplicationsInfo::Sources{
            applicationFolders, [] { return true; }, [] { return true; }});
        catalogue.searchApplicationsAndUtilities();
        applications = catalogue.applicationList().size();
    }
    state.counters["applications"] = double(applications);
}
BENCHMARK(BM_CatalogueSearch)->Unit(benchmark::kMicrosecond);

void BM_WindowMonitorIndex(benchmark::State &state) {
    for (auto _ : state) {
        DesktopApplicationIndex index(applicationFolders());
        benchmark::DoNotOptimize(index);
    }
}
BENCHMARK(BM_WindowMonitorIndex)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
