// Cost of one refresh on the status item host, each next to the work the
// controller does anyway in the same refresh (the baseline). Run it inside
// `dbus-run-session --` so the item and its menu really go out on a bus.
#include <benchmark/benchmark.h>
#include <QApplication>
#include <QDBusConnection>
#include <QPainter>

#include "app/QRMMenu.h"
#include "ui/DBusMenuExporter.h"
#include "ui/StatusNotifierItemView.h"

using namespace tarnwell;

namespace {

constexpr int kMenuItems = 25;

// A 22-point pie at twice the pixel density, as the controller draws it.
QImage pieChart(double freePercents) {
    QImage image(44, 44, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::black);
    painter.drawPie(QRectF(6, 6, 32, 32), int(freePercents * 16 * 3.6),
                    int((100 - freePercents) * 16 * 3.6));
    return image;
}

double nextPercent(int64_t iteration) {
    return double(iteration % 1000) / 10.0;
}

void BM_PieChartAlone(benchmark::State &state) {
    int64_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pieChart(nextPercent(i++)));
    }
}
BENCHMARK(BM_PieChartAlone);

void BM_PieChartShownByStatusNotifierItem(benchmark::State &state) {
    StatusNotifierItemView view(QDBusConnection::sessionBus());
    int64_t i = 0;
    for (auto _ : state) {
        const double percent = nextPercent(i++);
        view.setTitle(QStringLiteral("%1 %").arg(percent, 0, 'f', 2));
        view.setImage(pieChart(percent), true);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_PieChartShownByStatusNotifierItem);

void retitleAll(QRMMenu &menu, int64_t iteration) {
    for (QRMMenuItem *item : menu.items()) {
        item->setTitle(QStringLiteral("Free: %1 MB").arg(iteration));
    }
}

void fillMenu(QRMMenu &menu) {
    for (int i = 0; i < kMenuItems; ++i) {
        menu.addItem(QStringLiteral("item %1").arg(i));
    }
}

void BM_MenuRetitleAlone(benchmark::State &state) {
    QRMMenu menu;
    fillMenu(menu);
    int64_t i = 0;
    for (auto _ : state) {
        retitleAll(menu, i++);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_MenuRetitleAlone);

void BM_MenuRetitleExportedOverDBus(benchmark::State &state) {
    QRMMenu menu;
    fillMenu(menu);
    DBusMenuExporter exporter(QDBusConnection::sessionBus(), QStringLiteral("/MenuBar"));
    exporter.setMenu(&menu);
    int64_t i = 0;
    for (auto _ : state) {
        retitleAll(menu, i++);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_MenuRetitleExportedOverDBus);

}  // namespace

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
