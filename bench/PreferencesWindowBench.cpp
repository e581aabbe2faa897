// The preferences window: from the menu command to the window shown, the
// first opening (a fresh controller) and a second one (the open window
// brought forward), beside a bare window with four empty tabs; and resident
// memory before the first opening, while open and after closing.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QFile>
#include <QTabWidget>

#include "PreferencesRig.h"
#include "ui/preferences/PreferencesWindowOpener.h"

using namespace tarnwell;
using namespace tarnwell::testing;

namespace {

// A line of /proc/self/status in KiB ("VmRSS", "RssAnon"), after the
// allocator has handed back what it only keeps for later.
int64_t statusKiB(const char *field) {
    malloc_trim(0);
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray prefix = QByteArray(field) + ':';
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(prefix)) {
            return line.mid(prefix.size()).trimmed().split(' ').value(0).toLongLong();
        }
    }
    return -1;
}

void expose(QWidget *window) {
    if (!QTest::qWaitForWindowExposed(window)) {
        std::fprintf(stderr, "the window was not shown\n");
        std::abort();
    }
}

void settle() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

void closeWindow(PreferencesWindowOpener &opener) {
    opener.preferencesWindowController()->close();
    settle();
}

// A bare window with four empty tabs, the baseline of both measures.
std::unique_ptr<QWidget> bareTabWindow() {
    auto window = std::make_unique<QWidget>();
    auto *tabs = new QTabWidget(window.get());
    for (const char *title : {"General", "Apps", "Cleaning", "Updates"}) {
        tabs->addTab(new QWidget, QString::fromLatin1(title));
    }
    window->show();
    expose(window.get());
    return window;
}

// Resident memory before the first window, while it is open, after closing it
// once and after thirty openings. Run each argument in a process of its own
// (--benchmark_filter=BM_ResidentMemory/0, /1): the first window of a process
// pays for what Qt keeps afterwards.
void BM_ResidentMemory(benchmark::State &state) {
    const bool preferences = state.range(0) == 1;
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    std::unique_ptr<QWidget> bare;
    const auto openOnce = [&] {
        if (preferences) {
            opener.showPreferencesWindow();
            expose(opener.preferencesWindowController());
        } else {
            bare = bareTabWindow();
        }
    };
    const auto closeOnce = [&] {
        if (preferences) {
            closeWindow(opener);
        } else {
            bare.reset();
            settle();
        }
    };
    // Resident memory counts the library code a first window pages in, which
    // the system may drop at any time; anonymous memory is what the process
    // itself keeps.
    const auto measure = [&](const char *when) {
        state.counters[std::string("rss_") + when] = double(statusKiB("VmRSS"));
        state.counters[std::string("anon_") + when] = double(statusKiB("RssAnon"));
    };
    for (auto _ : state) {
        settle();
        measure("before");
        openOnce();
        measure("open");
        closeOnce();
        measure("closed1");
        for (int i = 0; i < 29; ++i) {
            openOnce();
            closeOnce();
        }
        measure("closed30");
    }
}
BENCHMARK(BM_ResidentMemory)->Arg(0)->Arg(1)->Iterations(1);

void BM_BareTabWindow(benchmark::State &state) {
    for (auto _ : state) {
        auto window = bareTabWindow();
        state.PauseTiming();
        window.reset();
        settle();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_BareTabWindow)->Unit(benchmark::kMillisecond);

void BM_FirstOpening(benchmark::State &state) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    for (auto _ : state) {
        opener.showPreferencesWindow();
        expose(opener.preferencesWindowController());
        state.PauseTiming();
        closeWindow(opener);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_FirstOpening)->Unit(benchmark::kMillisecond);

void BM_SecondOpening(benchmark::State &state) {
    PreferencesRig rig;
    PreferencesWindowOpener opener(rig.services());
    opener.showPreferencesWindow();
    expose(opener.preferencesWindowController());
    for (auto _ : state) {
        opener.showPreferencesWindow();
        expose(opener.preferencesWindowController());
    }
}
BENCHMARK(BM_SecondOpening)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform says at every raise that it cannot; nothing else
    // is said here.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
