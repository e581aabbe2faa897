// The store reads the settings file on every getter and writes it through on
// every setter; these runs show what that costs against QSettings alone, and
// what a localized text costs against a bare table lookup.
#include <benchmark/benchmark.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QTranslator>

#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"

namespace {

using namespace tarnwell;

struct Store {
    QTemporaryDir dir;
    QRMPreferencesManager preferences{dir.filePath("Tarnwell.conf"),
                                      [] { return std::optional<uint64_t>(8ull << 30); },
                                      QUrl("https://site.test/a.xml")};
};

// Baseline: the raw QSettings read the store is built on.
void BM_QSettingsValue(benchmark::State &state) {
    QTemporaryDir dir;
    QSettings settings(dir.filePath("Tarnwell.conf"), QSettings::IniFormat);
    settings.setValue("refreshRate", 5);
    settings.sync();
    for (auto _ : state) {
        benchmark::DoNotOptimize(settings.value("refreshRate").toLongLong());
    }
}
BENCHMARK(BM_QSettingsValue);

void BM_TypedGetter(benchmark::State &state) {
    Store store;
    store.preferences.setRefreshRate(5);
    for (auto _ : state) {
        benchmark::DoNotOptimize(store.preferences.refreshRate());
    }
}
BENCHMARK(BM_TypedGetter);

// Baseline: QSettings writing the file, as every setter must.
void BM_QSettingsSetValueAndSync(benchmark::State &state) {
    QTemporaryDir dir;
    QSettings settings(dir.filePath("Tarnwell.conf"), QSettings::IniFormat);
    qint64 i = 0;
    for (auto _ : state) {
        settings.setValue("lastTimeCleaned", ++i);
        settings.sync();
    }
}
BENCHMARK(BM_QSettingsSetValueAndSync);

void BM_TypedSetter(benchmark::State &state) {
    Store store;
    quint64 i = 0;
    for (auto _ : state) {
        store.preferences.setLastTimeCleaned(++i);
    }
}
BENCHMARK(BM_TypedSetter);

// Baseline: a lookup in an already chosen table.
void BM_TranslatorLookup(benchmark::State &state) {
    QTranslator table;
    if (!table.load("tarnwell_ru", ":/translations")) {
        state.SkipWithError("no compiled Russian table");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(table.translate("Tarnwell", "CleanMemoryNow"));
    }
}
BENCHMARK(BM_TranslatorLookup);

// The full path: the language is chosen from the store on every call.
void BM_Localized(benchmark::State &state) {
    Store store;
    store.preferences.setAppleLanguages(QStringList{"ru"});
    QRMLocalization localization(store.preferences, ":/translations", [] { return QStringList(); });
    for (auto _ : state) {
        benchmark::DoNotOptimize(localization.localized("CleanMemoryNow"));
    }
}
BENCHMARK(BM_Localized);

}  // namespace

BENCHMARK_MAIN();
