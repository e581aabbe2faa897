// Cost of one refresh on the status item host, each next to the work the
// controller does anyway in the same refresh (the baseline). Run it inside
// `dbus-run-session --` so the item and its menu really go out on a bus.
#include <benchmark/benchmark.h>
#include <QApplication>
#include <QDBusConnection>
#include <QPainter>
#include <QTemporaryDir>

#include "app/QRMMenu.h"
#include "ui/DBusMenuExporter.h"
#include "ui/PanelAppearance.h"
#include "ui/StatusNotifierItemView.h"
#include "ui/TitledIcon.h"

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

QString percentTitle(double percent) {
    return QStringLiteral("%1 %").arg(percent, 0, 'f', 2);
}

// The title drawn as the icon, as hosts without a label get it, at the usual
// panel height and twice the density; the controller draws the pie anyway.
void BM_PieChartWithTitleDrawn(benchmark::State &state) {
    int64_t i = 0;
    for (auto _ : state) {
        const double percent = nextPercent(i++);
        benchmark::DoNotOptimize(pieChart(percent));
        benchmark::DoNotOptimize(TitledIcon::draw(percentTitle(percent), Qt::black, 22, 2.0));
    }
}
BENCHMARK(BM_PieChartWithTitleDrawn);

// The whole refresh on the bus: pixmaps, icon file, label or drawn title.
void BM_PieChartShownByStatusNotifierItem(benchmark::State &state) {
    QTemporaryDir noDesktopFiles;
    PanelAppearance appearance({noDesktopFiles.path(), {}, {}, {}}, {}, nullptr);
    StatusNotifierItemView view(QDBusConnection::sessionBus(), appearance);
    view.setTitleDrawn(state.range(0) != 0);
    int64_t i = 0;
    for (auto _ : state) {
        const double percent = nextPercent(i++);
        view.setTitle(percentTitle(percent));
        view.setImage(pieChart(percent), true);
        QCoreApplication::processEvents();
    }
}
BENCHMARK(BM_PieChartShownByStatusNotifierItem)->ArgName("drawnTitle")->Arg(0)->Arg(1);

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
