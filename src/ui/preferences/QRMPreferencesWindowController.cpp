#include "ui/preferences/QRMPreferencesWindowController.h"

#include <QEvent>
#include <QIcon>
#include <QPixmap>
#include <QShortcut>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "StatusBarIcons.h"
#include "app/UsageEvents.h"
#include "localization/QRMLanguageNotifier.h"
#include "ui/preferences/AppsTab.h"
#include "ui/preferences/CleaningTab.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/UpdatesTab.h"

namespace tarnwell {

namespace {

// Drawn from its vector source once per process: four sizes cost more than
// the rest of an opening.
const QIcon &preferencesWindowIcon() {
    static const QIcon icon = [] {
        QIcon drawn;
        for (const int size : {16, 32, 64, 128}) {
            drawn.addPixmap(
                QPixmap::fromImage(loadStatusBarIcon(kStatusBarIconStatic3D, {size, size})));
        }
        return drawn;
    }();
    return icon;
}

}  // namespace

QRMPreferencesWindowController::QRMPreferencesWindowController(PreferencesServices services,
                                                               QWidget *parent)
    : QWidget(parent, Qt::Window), services_(std::move(services)) {
    setAttribute(Qt::WA_DeleteOnClose);
    // Half a second: a desktop switching themes sends several palette and
    // style changes in a row, and the images are drawn once, for the last.
    themeChangeDelay_ = new QTimer(this);
    themeChangeDelay_->setSingleShot(true);
    themeChangeDelay_->setInterval(500);
    connect(themeChangeDelay_, &QTimer::timeout, this,
            &QRMPreferencesWindowController::themeChanged);
    setWindowIcon(preferencesWindowIcon());

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
    connect(this, &QRMPreferencesWindowController::themeChanged, tabApps,
            &AppsTab::drawButtonImages);

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

void QRMPreferencesWindowController::changeEvent(QEvent *event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ThemeChange ||
        event->type() == QEvent::StyleChange) {
        if (themeChangeDelay_) {
            themeChangeDelay_->start();
        }
    }
    QWidget::changeEvent(event);
}

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
