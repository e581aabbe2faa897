// The welcome window's cost to the tray program, measured from a stand-in
// tray that starts it with the tray's own WelcomeWindowProcess: the time from
// the command to the local page loaded, cold (first start in a fresh home)
// and warm, beside a bare web view loading the same page; the proportional
// set size of the window's whole process tree while open; and the tray's
// resident memory before, and one minute after the window closed.
//
// Run through welcome_cost.sh, which gives it a display.
#include <algorithm>
#include <cstdio>
#include <vector>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "ProcessTree.h"
#include "app/WelcomeWindowProcess.h"

using namespace tarnwell;

namespace {

constexpr int kHomes = 3;        // cold starts, one per fresh home
constexpr int kWarmPerHome = 3;  // warm starts after each cold one

long statusKiB(pid_t pid, const char *field) {
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(field)) {
            return line.mid(qsizetype(strlen(field))).trimmed().split(' ').value(0).toLong();
        }
    }
    return 0;
}

long treePssKiB(pid_t root) {
    long total = 0;
    for (pid_t pid : test::processTree(root)) {
        QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
        if (!rollup.open(QIODevice::ReadOnly)) {
            continue;
        }
        for (const QByteArray &line : rollup.readAll().split('\n')) {
            if (line.startsWith("Pss:")) {
                total += line.mid(4).trimmed().split(' ').value(0).toLong();
            }
        }
    }
    return total;
}

void useHome(const QTemporaryDir &home) {
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath("data").toLocal8Bit());
    qputenv("XDG_CACHE_HOME", home.filePath("cache").toLocal8Bit());
}

struct Launch {
    double ms = -1;
    long pssKiB = 0;
};

// The welcome window, from the command to its first page loaded.
Launch launchWelcome(const QString &program, bool measurePss) {
    Launch launch;
    WelcomeWindowProcess welcome(program);
    QSignalSpy loaded(&welcome, &WelcomeWindowProcess::windowDidLoad);
    QElapsedTimer clock;
    clock.start();
    welcome.showWelcomePage();
    if (loaded.wait(60000)) {
        launch.ms = double(clock.nsecsElapsed()) / 1e6;
        if (measurePss) {
            QTest::qWait(2000);  // settled: the engine's helpers all up
            launch.pssKiB = treePssKiB(pid_t(welcome.processId()));
        }
    }
    return launch;
}

// The bare view, the same way.
Launch launchBaseline(const QString &program, const QString &page, bool measurePss) {
    Launch launch;
    QProcess view;
    view.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer clock;
    clock.start();
    view.start(program, {page});
    while (view.waitForReadyRead(60000)) {
        if (view.readAll().contains("loaded")) {
            launch.ms = double(clock.nsecsElapsed()) / 1e6;
            break;
        }
    }
    if (launch.ms >= 0 && measurePss) {
        QTest::qWait(2000);
        launch.pssKiB = treePssKiB(pid_t(view.processId()));
    }
    view.closeWriteChannel();
    if (!view.waitForFinished(10000)) {
        view.kill();
        view.waitForFinished();
    }
    return launch;
}

struct Summary {
    double median, low, high;
};

Summary summarize(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values.front(), values.back()};
}

}  // namespace

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    const QString build = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    const QString welcomeProgram = build + "/src/tarnwell-welcome";
    const QString baselineProgram = build + "/bench/tarnwell_minimal_webview";
    const QString page = QStringLiteral(TARNWELL_SOURCE_DIR "/resources/welcome/en/index.html");
    qputenv("TARNWELL_SITE_URL", "http://127.0.0.1:9");  // no site: the local page stays

    const long trayBeforeKiB = statusKiB(getpid(), "VmRSS:");
    std::vector<double> cold, warm, baseCold, baseWarm;
    std::vector<double> pss, basePss;
    for (int h = 0; h < kHomes; ++h) {
        QTemporaryDir home, baseHome;
        for (int i = 0; i <= kWarmPerHome; ++i) {
            useHome(home);
            // Memory of the warm windows of the first home.
            const bool measurePss = h == 0 && i > 0;
            const Launch w = launchWelcome(welcomeProgram, measurePss);
            useHome(baseHome);
            const Launch b = launchBaseline(baselineProgram, page, measurePss);
            if (w.ms < 0 || b.ms < 0) {
                std::fprintf(stderr, "a window did not load\n");
                return 1;
            }
            (i == 0 ? cold : warm).push_back(w.ms);
            (i == 0 ? baseCold : baseWarm).push_back(b.ms);
            if (measurePss) {
                pss.push_back(double(w.pssKiB) / 1024);
                basePss.push_back(double(b.pssKiB) / 1024);
            }
        }
    }

    std::printf("%-28s %10s %18s %10s %18s %7s\n", "to the local page loaded", "welcome",
                "(min..max) ms", "bare view", "(min..max) ms", "ratio");
    const auto row = [](const char *name, const std::vector<double> &w,
                        const std::vector<double> &b) {
        const Summary s = summarize(w), t = summarize(b);
        std::printf("%-28s %10.0f %8.0f..%-8.0f %10.0f %8.0f..%-8.0f %6.2fx  (n=%zu)\n", name,
                    s.median, s.low, s.high, t.median, t.low, t.high, s.median / t.median,
                    w.size());
    };
    row("cold (fresh home)", cold, baseCold);
    row("warm", warm, baseWarm);
    const Summary p = summarize(pss), q = summarize(basePss);
    std::printf(
        "PSS of the process tree while open, MiB: welcome %.1f (%.1f..%.1f), bare view %.1f "
        "(%.1f..%.1f), %.2fx (n=%zu)\n",
        p.median, p.low, p.high, q.median, q.low, q.high, p.median / q.median, pss.size());

    // Every window has closed; what does the tray keep, and is anything left?
    QTest::qWait(60000);
    const long trayAfterKiB = statusKiB(getpid(), "VmRSS:");
    const qsizetype left = test::processTree(getpid()).size() - 1;
    std::printf(
        "tray RSS: before %.1f MiB, one minute after %.1f MiB (%+.2f MiB); "
        "processes left below the tray: %lld\n",
        double(trayBeforeKiB) / 1024, double(trayAfterKiB) / 1024,
        double(trayAfterKiB - trayBeforeKiB) / 1024, qlonglong(left));
    return 0;
}
