// A background update check must cost little beyond fetching the feed: the
// baseline in the same run is a bare QNetworkAccessManager GET of the same
// 50-item feed from the same loopback server. Both report the process's CPU
// time (the HTTP work runs on Qt's own thread) and its heap allocations per
// check; a third run shows that resident memory settles after many checks.
#include <malloc.h>
#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QTemporaryDir>
#include <atomic>

#include "TestHttpServer.h"
#include "preferences/QRMPreferencesManager.h"
#include "updates/PackageInstaller.h"
#include "updates/QRMUpdater.h"

// Every malloc, calloc and realloc of the process, on any thread.
std::atomic<long> gAllocations{0};
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void *malloc(size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}

namespace {

using namespace tarnwell;

QByteArray fiftyItemFeed() {
    QByteArray items;
    for (int i = 0; i < 50; ++i) {
        const QByteArray version = "1." + QByteArray::number((i * 37) % 50);
        items += "<item><title>Tarnwell " + version + "</title><sparkle:version>" +
                 QByteArray::number(i) + "</sparkle:version><sparkle:shortVersionString>" +
                 version +
                 "</sparkle:shortVersionString><description><![CDATA[<ul><li>Faster cleaning</li>"
                 "<li>Fixes</li></ul>]]></description><enclosure url=\"/tarnwell-" +
                 version +
                 ".deb\" length=\"1048576\" type=\"application/vnd.debian.binary-package\" "
                 "sparkle:edSignature=\"" +
                 QByteArray(64, 'S').toBase64() + "\"/></item>\n";
    }
    return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><title>Tarnwell</title>)" +
           items + "</channel></rss>";
}

struct NoInstaller : PackageInstaller {
    void install(const QString &, Done) override {}
};

struct Rig {
    Rig()
        : preferences(
              dir.filePath("Tarnwell.conf"), [] { return std::nullopt; }, QUrl()),
          // Newer than every item: the check ends silent, as most do.
          updater(preferences, installer,
                  {"100", "1.0", "12", dir.filePath("downloads"), QByteArray(32, 'k'), {}}) {
        updater.setFeedURL(server.url("/appcast.xml"));
    }
    void serveFeed() { server.script(test::ScriptedReply::respond(200, {}, feed)); }

    QTemporaryDir dir;
    QByteArray feed = fiftyItemFeed();
    test::TestHttpServer server;
    QRMPreferencesManager preferences;
    NoInstaller installer;
    QRMUpdater updater;
};

double processCpuMicroseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

// Runs body once a check, with the process's CPU time and allocations.
template <typename Body>
void measure(benchmark::State &state, Rig &rig, Body body) {
    double cpu = 0;
    long allocations = 0;
    for (auto _ : state) {
        rig.serveFeed();
        const double cpuBefore = processCpuMicroseconds();
        const long allocationsBefore = gAllocations.load();
        body();
        allocations += gAllocations.load() - allocationsBefore;
        cpu += processCpuMicroseconds() - cpuBefore;
    }
    state.counters["process_cpu_us"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
    state.counters["allocations"] =
        benchmark::Counter(double(allocations), benchmark::Counter::kAvgIterations);
}

void BM_BareGet(benchmark::State &state) {
    Rig rig;
    QNetworkAccessManager network;
    measure(state, rig, [&] {
        QNetworkReply *reply = network.get(QNetworkRequest(rig.server.url("/appcast.xml")));
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        benchmark::DoNotOptimize(reply->readAll());
        delete reply;
    });
}
BENCHMARK(BM_BareGet)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();

void runBackgroundCheck(QRMUpdater &updater) {
    QEventLoop loop;
    QObject::connect(&updater, &QRMUpdater::sessionFinished, &loop, &QEventLoop::quit);
    updater.checkForUpdatesInBackground();
    loop.exec();
}

void BM_BackgroundCheck(benchmark::State &state) {
    Rig rig;
    measure(state, rig, [&] { runBackgroundCheck(rig.updater); });
}
BENCHMARK(BM_BackgroundCheck)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly();

long residentKiB() {
    QFile status("/proc/self/status");
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').first().toLong();
        }
    }
    return -1;
}

// Resident memory after 200 checks against after the first one (which pays
// for the network stack's one-time set-up).
void BM_ResidentGrowthOver200Checks(benchmark::State &state) {
    Rig rig;
    rig.serveFeed();
    runBackgroundCheck(rig.updater);
    malloc_trim(0);
    const long before = residentKiB();
    for (auto _ : state) {
        for (int i = 0; i < 200; ++i) {
            rig.serveFeed();
            runBackgroundCheck(rig.updater);
        }
    }
    malloc_trim(0);
    state.counters["rss_growth_KiB"] = double(residentKiB() - before);
}
BENCHMARK(BM_ResidentGrowthOver200Checks)->Iterations(1)->Repetitions(3)->UseRealTime();

}  // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
