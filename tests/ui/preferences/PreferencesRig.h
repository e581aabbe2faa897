#pragma once

#include <QAbstractItemView>
#include <QComboBox>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include "AppFakes.h"
#include "app/PreferencesAppSettings.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "platform/linux/QRMLoginItems.h"
#include "preferences/QRMPreferencesManager.h"
#include "ui/preferences/PreferencesServices.h"
#include "ui/preferences/QRMPreferencesWindowController.h"

namespace tarnwell::testing {

constexpr uint64_t kGiB = uint64_t(1) << 30;

// A controller over a store in a temporary file, the real string tables and
// login items in a temporary autostart folder. Cleanings start and never end
// unless the test finishes them.
struct PreferencesRig {
    QTemporaryDir dir;
    FakeEngine engine;
    QRMPreferencesManager preferences{dir.filePath("Tarnwell.conf"),
                                      [] { return std::optional<uint64_t>(8 * kGiB); },
                                      QUrl("https://site.test/stable.xml")};
    PreferencesAppSettings settings{preferences};
    FakeStatusItem statusItem;
    FakeUrlOpener urlOpener;
    FakeUsageEvents usageEvents;
    FakeUpdateChecks updater;
    FakeApplicationEvents applicationEvents;
    QRMLanguageNotifier languageNotifier;
    QRMLocalization localization{preferences, QStringLiteral(":/translations"),
                                 [] { return QStringList{"en-GB"}; }};
    QRMLoginItems loginItems{dir.filePath("autostart")};
    QString applicationPath = dir.filePath("tarnwell");
    std::vector<std::function<void()>> pendingCleanings;
    int dockIconChanges = 0;
    std::unique_ptr<QRMAppDelegate> delegate;

    // The installed memory the statistics record reports; nothing: no record.
    explicit PreferencesRig(std::optional<uint64_t> installed = 8 * kGiB) {
        QFile program(applicationPath);
        program.open(QIODevice::WriteOnly);
        program.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        if (installed) {
            engine.nextSample = recordWith(512 * kMiB, 64 * kMiB);
            engine.nextSample[std::string(keys::hardwareMemorySize)] =
                QRMNumber::fromUInt64(*installed);
        }
    }

    // The controller waits for its background work when it goes.
    ~PreferencesRig() {
        for (const auto &task : pendingCleanings) {
            task();
        }
    }

    // Settings the window finds when it opens, as an edited file holds them.
    void store(const QString &key, const QVariant &value) {
        QSettings file(dir.filePath("Tarnwell.conf"), QSettings::IniFormat);
        file.setValue(key, value);
    }

    // cleaning: with a cleaning started that does not end.
    QRMAppDelegate &start(bool cleaning = false) {
        delegate = std::make_unique<QRMAppDelegate>(QRMAppDelegate::Services{
            engine, settings, fakeLocalizer(), urlOpener, &statusItem, nullptr,
            [this](std::function<void()> task) { pendingCleanings.push_back(std::move(task)); },
            &usageEvents, nullptr, &loginItems, applicationPath, &applicationEvents});
        delegate->awakeFromNib();
        delegate->applicationDidFinishLaunching();
        if (cleaning) {
            delegate->cleanMemoryNow();
        }
        return *delegate;
    }

    PreferencesServices services() {
        if (!delegate) {
            start();
        }
        return PreferencesServices{
            *delegate,        preferences,
            engine,           [this](const QString &key) { return localization.localized(key); },
            languageNotifier, loginItems,
            applicationPath,  [this] { ++dockIconChanges; },
            &usageEvents,     &updater};
    }

    std::unique_ptr<QRMPreferencesWindowController> open() {
        auto window = std::make_unique<QRMPreferencesWindowController>(services());
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        return window;
    }
};

// Picks an item the way a keyboard user does: open the pop-up, move to the
// item, press Return.
inline void choose(QComboBox *comboBox, int index) {
    comboBox->showPopup();
    QAbstractItemView *view = comboBox->view();
    view->setCurrentIndex(view->model()->index(index, 0));
    QTest::keyClick(view, Qt::Key_Return);
}

inline QStringList items(const QComboBox *comboBox) {
    QStringList texts;
    for (int i = 0; i < comboBox->count(); ++i) {
        texts << comboBox->itemText(i);
    }
    return texts;
}

}  // namespace tarnwell::testing
