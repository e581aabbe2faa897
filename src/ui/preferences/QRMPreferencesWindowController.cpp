#include "ui/preferences/QRMPreferencesWindowController.h"

#include <QIcon>
#include <QPixmap>
#include <QShortcut>
#include <QTabWidget>
#include <QVBoxLayout>

#include "StatusBarIcons.h"
#include "app/UsageEvents.h"
#include "localization/QRMLanguageNotifier.h"
#include "ui/preferences/AppsTab.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/UpdatesTab.h"

namespace tarnwell {

QRMPreferencesWindowController::QRMPreferencesWindowController(PreferencesServices services,
                                                               QWidget *parent)
    : QWidget(parent, Qt::Window), services_(std::move(services)) {
    setAttribute(Qt::WA_DeleteOnClose);
    QIcon icon;
    for (const int size : {16, 32, 64, 128}) {
        icon.addPixmap(QPixmap::fromImage(loadStatusBarIcon(kStatusBarIconStatic3D, {size, size})));
    }
    setWindowIcon(icon);

    tabView = new QTabWidget;
    tabGeneral = new GeneralTab(services_);
    tabApps = new AppsTab(services_.preferences, services_.appDelegate, services_.localized,
                          services_.apps);
    tabCleaning = new CleaningTab(services_);
    tabUpdates = new UpdatesTab(services_);
    tabView->addTab(tabGeneral, QString());
    tabView->addTab(tabApps, QString());
    tabView->addTab(tabCleaning, QString());
    tabView->addTab(tabUpdates, QString());
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tabView);

    // Exactly Ctrl+W: with Shift or Alt added it is another shortcut.
    auto *close = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
    connect(close, &QShortcut::activated, this, &QWidget::close);

    languageDidChanged();
    // Direct: the window is in the new language by the time the change returns.
    connect(&services_.languageNotifier, &QRMLanguageNotifier::languageDidChanged, this,
            &QRMPreferencesWindowController::languageDidChanged, Qt::DirectConnection);

    if (services_.usageEvents) {
        services_.usageEvents->contentViewWithName(QStringLiteral("Preferences"),
                                                   QStringLiteral("Window"),
                                                   QStringLiteral("preferencesWindow"));
    }
}

QRMPreferencesWindowController::~QRMPreferencesWindowController() = default;

void QRMPreferencesWindowController::languageDidChanged() {
    const Localizer &localized = services_.localized;
    setWindowTitle(localized(QStringLiteral("Preferences")));
    const char *const tabKeys[] = {"General", "ApplicationsAndUtilitiesMonitoring",
                                   "AutoMemoryCleaning", "Updates"};
    for (int i = 0; i < tabView->count(); ++i) {
        tabView->setTabText(i, localized(QString::fromLatin1(tabKeys[i])));
    }
    tabGeneral->languageDidChanged();
    tabApps->languageDidChanged();
    tabCleaning->languageDidChanged();
    tabUpdates->languageDidChanged();
}

}  // namespace tarnwell
