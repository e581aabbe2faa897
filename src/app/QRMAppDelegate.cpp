#include "app/QRMAppDelegate.h"

#include <thread>

#include <QCoreApplication>
#include <QUrl>

#include "BuildInfo.h"
#include "StatusBarIcons.h"
#include "app/AppSettings.h"
#include "app/MemoryEngine.h"
#include "app/QRMMakeURL.h"
#include "app/RecordValues.h"
#include "app/SizeText.h"
#include "app/StatusIcons.h"
#include "app/StatusItemView.h"
#include "app/UrlOpener.h"
#include "app/UsageEvents.h"
#include "app/UserNotifier.h"
#include "preferences/QRMConstants.h"
#include "preferences/QRMSettingValue.h"

namespace tarnwell {

namespace {

// The desktop's default "message arrived" sound, from the freedesktop sound theme.
constexpr const char kDefaultNotificationSound[] = "message-new-instant";

enum StatusBarTextType { kTextNone = 0, kTextPercent = 1, kTextSize = 2 };
enum StatusBarIconType {
    kIconNone = 0,
    kIconStatic2DBlack = 1,
    kIconStatic3DGrayscale = 2,
    kIconPieChartBlack = 3,
    kIconPieChartColor = 4,
};

void runOnNewThread(std::function<void()> task) {
    std::thread(std::move(task)).detach();
}

// A flag counts only as a real boolean; a missing one is off.
bool isFlagOn(const QVariantMap &record, const QString &key) {
    const QVariant flag = record.value(key);
    return flag.typeId() == QMetaType::Bool && flag.toBool();
}

}  // namespace

QRMAppDelegate::QRMAppDelegate(Services services, QObject *parent)
    : QObject(parent),
      engine_(services.engine),
      settings_(services.settings),
      localized_(std::move(services.localized)),
      urlOpener_(services.urlOpener),
      pendingStatusItem_(services.statusItem),
      notifier_(services.notifier),
      usageEvents_(services.usageEvents),
      runInBackground_(services.runInBackground ? std::move(services.runInBackground)
                                                : BackgroundRunner(runOnNewThread)),
      applicationEvents_(services.applicationEvents),
      searchApplicationsAndUtilitiesInBackground_(
          std::move(services.searchApplicationsAndUtilitiesInBackground)) {
    connect(&refreshMemoryInfoTimer_, &QTimer::timeout, this, &QRMAppDelegate::refreshMemoryInfo);
    connect(&autoCleanEveryTimeTimer_, &QTimer::timeout, this, &QRMAppDelegate::cleanMemoryNow);
    connectMenuCommands();

    // Listening first: the first threshold check below may already start a
    // cleaning, and its end must not go unheard.
    memoryCleanedObserver_ = engine_.addMemoryCleanedObserver([this] { memoryCleaned(); });

    freeMemoryBefore_ = 0;
    freeMemoryAfter_ = 0;
    // With nothing recorded this is one refresh, one menu rebuild and one
    // threshold check.
    setMemoryCleaningInProgress(false);
}

QRMAppDelegate::~QRMAppDelegate() {
    if (applicationEvents_) {
        applicationEvents_->stopMonitoring();
    }
    engine_.removeMemoryCleanedObserver(memoryCleanedObserver_);
}

void QRMAppDelegate::connectMenuCommands() {
    const std::pair<QRMMenuItem *, void (QRMAppDelegate::*)()> commands[] = {
        {statusMenu_.cleanMemoryNow, &QRMAppDelegate::cleanMemoryNow},
        {statusMenu_.lastTimeCleanedMenuItem, &QRMAppDelegate::showTweetLastTimeCleanedMenuItem},
        {statusMenu_.maxCleanedMenuItem, &QRMAppDelegate::showTweetMaxCleanedMenuItem},
        {statusMenu_.totallyCleanedMenuItem, &QRMAppDelegate::showTweetTotallyCleanedMenuItem},
        {statusMenu_.preferences, &QRMAppDelegate::showPreferencesWindow},
        {statusMenu_.checkForUpdates, &QRMAppDelegate::checkForUpdates},
        {statusMenu_.customerSupportPage, &QRMAppDelegate::showCustomerSupportPage},
        {statusMenu_.learnMorePage, &QRMAppDelegate::showLearnMorePage},
        {statusMenu_.productPage, &QRMAppDelegate::showProductPage},
        {statusMenu_.privacyPage, &QRMAppDelegate::showPrivacyPage},
        {statusMenu_.welcomePage, &QRMAppDelegate::showWelcomePage},
    };
    for (const auto &[item, action] : commands) {
        connect(item, &QRMMenuItem::triggered, this, action);
    }
    connect(statusMenu_.quit, &QRMMenuItem::triggered, qApp, &QCoreApplication::quit,
            Qt::QueuedConnection);
}

void QRMAppDelegate::awakeFromNib() {
    statusItem_ = pendingStatusItem_;
    if (statusItem_) {
        statusItem_->setMenu(statusMenu_.menu());
    }
    languageDidChanged();
    // Adding the autostart entry on the first run belongs to the login-items
    // part, which the preferences window brings; until then only the event.
    if (usageEvents_) {
        if (settings_.isFirstRun()) {
            usageEvents_->firstRun();
        } else {
            usageEvents_->run();
        }
    }
}

void QRMAppDelegate::applicationDidFinishLaunching() {
    engine_.refresh();
    refreshStatusMenu();
    setupRefreshMemoryInfoTimer();
    if (settings_.autoCleanEveryTimeChecked()) {
        setupAutoCleanEveryTimeTimer();
    }
    loadPreferences();
    showWelcomePageIfNeeded();
}

void QRMAppDelegate::loadPreferences() {
    applicationsPreferences_ = settings_.applicationsAndUtilitiesToMonitoring();
    if (!applicationEvents_) {
        return;
    }
    const bool wanted = std::any_of(
        applicationsPreferences_.cbegin(), applicationsPreferences_.cend(),
        [](const QVariantMap &record) {
            return std::any_of(
                monitoredApplicationKey::kEvents.cbegin(), monitoredApplicationKey::kEvents.cend(),
                [&](const char *key) { return isFlagOn(record, QString::fromLatin1(key)); });
        });
    if (!wanted) {
        applicationEvents_->stopMonitoring();
        return;
    }
    applicationEvents_->startMonitoring([this](ApplicationEvent event, const QString &id) {
        preformAction(id, QString::fromLatin1(monitoredApplicationKey::kEvents[size_t(event)]));
    });
}

void QRMAppDelegate::preformAction(const QString &applicationId, const QString &key) {
    if (applicationId.isEmpty()) {
        return;
    }
    // By index with the count read each time: cleanMemoryNow() runs code that
    // may reload the list.
    for (qsizetype i = 0; i < applicationsPreferences_.size(); ++i) {
        const QVariantMap &record = applicationsPreferences_.at(i);
        const QVariant id = record.value(QString::fromLatin1(monitoredApplicationKey::kID));
        if (id.typeId() != QMetaType::QString || id.toString() != applicationId) {
            continue;
        }
        if (isFlagOn(record, key)) {
            cleanMemoryNow();
            return;
        }
    }
}

void QRMAppDelegate::searchApplicationsAndUtilities() {
    if (searchApplicationsAndUtilitiesInBackground_) {
        searchApplicationsAndUtilitiesInBackground_();
    }
}

void QRMAppDelegate::showWelcomePageIfNeeded() {
    const QString build = QString::fromLatin1(kBuildNumber);
    if (!settings_.isWelcomeShown() || settings_.bundleBuild() != build) {
        showWelcomePage();
    }
    settings_.setBundleBuild(build);
}

namespace {

// The store keeps whatever it is given; a zero or negative interval would make
// a timer spin, so the shortest interval is one second.
std::chrono::milliseconds timerInterval(float seconds, const char *setting) {
    if (!(seconds >= 1.0f)) {
        qWarning("%s gives an interval of %g s; using 1 s", setting, double(seconds));
        seconds = 1.0f;
    }
    return std::chrono::milliseconds(qint64(double(seconds) * 1000.0));
}

}  // namespace

void QRMAppDelegate::setupRefreshMemoryInfoTimer() {
    refreshMemoryInfoTimer_.setInterval(
        timerInterval(float(settings_.refreshRate()), "refreshRate"));
    refreshMemoryInfoTimer_.start();
}

void QRMAppDelegate::invalidateRefreshMemoryInfoTimer() {
    refreshMemoryInfoTimer_.stop();
}

void QRMAppDelegate::setupAutoCleanEveryTimeTimer() {
    // Minutes to seconds in single precision, as the interval always was.
    autoCleanEveryTimeTimer_.setInterval(
        timerInterval(float(settings_.autoCleanEveryTime()) * 60.0f, "autoCleanEveryTime"));
    autoCleanEveryTimeTimer_.start();
}

void QRMAppDelegate::invalidateAutoCleanEveryTimeTimer() {
    autoCleanEveryTimeTimer_.stop();
}

void QRMAppDelegate::refreshMemoryInfo() {
    if (memoryCleaningInProgress_) {
        return;
    }
    engine_.refresh();
    refreshStatusMenu();
    checkToAutoClean();
}

void QRMAppDelegate::cleanMemoryNow() {
    if (memoryCleaningInProgress_) {
        return;
    }
    invalidateRefreshMemoryInfoTimer();
    setMemoryCleaningInProgress(true);
    runInBackground_([this] {
        // Linux keeps a reserve the block may not eat into. A refusal for that
        // reason is an ordinary "nothing to clean", not a request lost: without
        // the hand-back the command would stay disabled on exactly the machines
        // short of memory. Every other refusal leaves the cleaning pending.
        const CleaningDecision decision = engine_.cleanMemoryNow();
        if (decision.refusal == CleaningRefusal::NoRoomAboveReserve) {
            memoryCleaned();
        }
    });
}

void QRMAppDelegate::memoryCleaned() {
    if (usageEvents_) {
        usageEvents_->memoryCleaned();
    }
    // Cleaning thread: hand over to the main thread without waiting for it.
    QMetaObject::invokeMethod(this, &QRMAppDelegate::setMemoryCleaningInProgressToNO,
                              Qt::QueuedConnection);
}

void QRMAppDelegate::setMemoryCleaningInProgressToNO() {
    setMemoryCleaningInProgress(false);
}

void QRMAppDelegate::setMemoryCleaningInProgress(bool inProgress) {
    memoryCleaningInProgress_ = inProgress;
    refreshMemoryInfo();
    // The refresh may have started a chained cleaning through a threshold.
    if (memoryCleaningInProgress_) {
        // A chained cleaning keeps the first one's "before", so consecutive
        // threshold cleanings are recorded as one.
        if (freeMemoryBefore_ == 0) {
            const QString progress = localized_(QStringLiteral("Cleaning")) + QStringLiteral("...");
            statusMenu_.cleanMemoryNow->setEnabled(false);
            statusMenu_.cleanMemoryNow->setTitle(progress);
            setStatusItemTitle(progress);
            freeMemoryBefore_ = unsignedValue(engine_.info(), keys::freeBytes);
        }
    } else if (freeMemoryBefore_ != 0) {
        freeMemoryAfter_ = unsignedValue(engine_.info(), keys::freeBytes);
        if (freeMemoryAfter_ <= freeMemoryBefore_) {
            setStatusItemTitle(localized_(QStringLiteral("NothingtoClean")));
            settings_.setLastTimeCleaned(0);
        } else {
            const uint64_t freed = freeMemoryAfter_ - freeMemoryBefore_;
            const QString message = QStringLiteral("%1 %2").arg(
                sizeText(freed, false), localized_(QStringLiteral("Cleaned")));
            setStatusItemTitle(message);
            if (notifier_ && settings_.showNotificationsAfterCleaning()) {
                notifier_->showNotificationWithTitle(
                    QString::fromLatin1(kDisplayName), message,
                    QString::fromLatin1(kDefaultNotificationSound));
            }
            settings_.setLastTimeCleaned(freed);
            if (freed > settings_.maxCleaned()) {
                settings_.setMaxCleaned(freed);
            }
            settings_.setTotallyCleaned(addFreedBytes(settings_.totallyCleaned(), freed));
        }
        statusMenu_.cleanMemoryNow->setTitle(localized_(QStringLiteral("CleanMemoryNow")));
        statusMenu_.cleanMemoryNow->setEnabled(true);
        setupRefreshMemoryInfoTimer();
        freeMemoryBefore_ = 0;
        freeMemoryAfter_ = 0;
    }
    emit memoryCleaningInProgressChanged(memoryCleaningInProgress_);
}

void QRMAppDelegate::checkToAutoClean() {
    if (settings_.autoCleanByFreeSizeChecked() && !memoryCleaningInProgress_) {
        const uint64_t freeMiB = unsignedValue(engine_.info(), keys::freeBytes) >> 20;
        if (freeMiB < uint64_t(settings_.autoCleanByFreeSize())) {
            cleanMemoryNow();
        }
    }
    if (settings_.autoCleanByInactiveSizeChecked() && !memoryCleaningInProgress_) {
        const uint64_t inactiveMiB = unsignedValue(engine_.info(), keys::inactiveBytes) >> 20;
        if (inactiveMiB > uint64_t(settings_.autoCleanByInactiveSize())) {
            cleanMemoryNow();
        }
    }
}

void QRMAppDelegate::setStatusItemTitle(const QString &title) {
    if (settings_.statusBarTextType() != kTextNone && statusItem_) {
        statusItem_->setTitle(title);
    }
}

void QRMAppDelegate::refreshStatusMenu() {
    refreshStatusItemTitle();
    refreshStatusItemImage();
    statusMenu_.refreshTitles(
        engine_.info(),
        {settings_.lastTimeCleaned(), settings_.maxCleaned(), getTotallyCleanedString()},
        localized_);
}

void QRMAppDelegate::refreshStatusItemTitle() {
    QString title;
    const int64_t textType = settings_.statusBarTextType();
    if (textType != kTextNone) {
        if (settings_.statusBarTextWithInfo()) {
            title = QStringLiteral("%1: ").arg(localized_(QStringLiteral("Free")));
        }
        const QRMStatisticsRecord record = engine_.info();
        if (textType == kTextPercent) {
            title += QString::asprintf("%.2f %%", floatValue(record, keys::freePercents));
        } else if (textType == kTextSize) {
            title += sizeText(unsignedValue(record, keys::freeBytes), false);
        }
    }
    if (statusItem_) {
        statusItem_->setTitle(title);
    }
}

void QRMAppDelegate::refreshStatusItemImage() {
    QImage image;
    bool isTemplate = false;
    switch (settings_.statusBarIconType()) {
        case kIconStatic2DBlack:
            if (statusBarIconStatic2D_.isNull()) {
                statusBarIconStatic2D_ = StatusIcons::staticIcon(kStatusBarIconStatic2D);
            }
            image = statusBarIconStatic2D_;
            isTemplate = true;
            break;
        case kIconStatic3DGrayscale:
            if (statusBarIconStatic3D_.isNull()) {
                statusBarIconStatic3D_ = StatusIcons::staticIcon(kStatusBarIconStatic3D);
            }
            image = statusBarIconStatic3D_;
            break;
        case kIconPieChartBlack:
            image = StatusIcons::pieChartIconBlack(floatValue(engine_.info(), keys::freePercents));
            isTemplate = true;
            break;
        case kIconPieChartColor: {
            const QRMStatisticsRecord record = engine_.info();
            statusMenu_.showColorLegends();
            image = StatusIcons::pieChartIconColor({
                floatValue(record, keys::freePercents),
                floatValue(record, keys::inactivePercents),
                floatValue(record, keys::activePercents),
                floatValue(record, keys::wirePercents),
                floatValue(record, keys::compressorPagePercents),
            });
            break;
        }
        default:
            image = StatusIcons::blankImage();
            break;
    }
    if (statusItem_) {
        statusItem_->setImage(image, isTemplate);
    }
}

QString QRMAppDelegate::getTotallyCleanedString() const {
    return totallyCleanedString(settings_.totallyCleaned());
}

void QRMAppDelegate::languageDidChanged() {
    statusMenu_.setStaticTitles(localized_);
    refreshStatusMenu();
}

void QRMAppDelegate::shouldShowPreferencesWindow() {
    // Just over a tenth of a second, so the window that asked has finished
    // changing the taskbar state first.
    // Qt timers count whole milliseconds: round the delay up, never down.
    QTimer::singleShot(
        std::chrono::ceil<std::chrono::milliseconds>(std::chrono::nanoseconds(100'000'001)), this,
        &QRMAppDelegate::showPreferencesWindow);
}

void QRMAppDelegate::showPreferencesWindow() {
    emit preferencesWindowRequested();
}

void QRMAppDelegate::checkForUpdates() {
    emit updateCheckRequested();
}

void QRMAppDelegate::showWelcomePage() {
    emit welcomePageRequested();
}

void QRMAppDelegate::openSharePage(const QString &page, const QString &figure,
                                   const QString &campaign) {
    const QString query = QRMMakeURL().makeUTMParamsURLPartWith({}, {}, {}, {}, campaign);
    QString compactFigure = figure;
    compactFigure.remove(QLatin1Char(' '));
    urlOpener_.openURL(
        QUrl(QStringLiteral("%1/%2/%3/?s=%4&%5")
                 .arg(QRMConstants::sharedConstants().siteURL(),
                      localized_(QStringLiteral("language")), page, compactFigure, query)));
}

void QRMAppDelegate::showTweetLastTimeCleanedMenuItem() {
    openSharePage(QStringLiteral("tweetlasttimecleaned"),
                  sizeText(settings_.lastTimeCleaned(), false),
                  QStringLiteral("tweetlasttimecleaned"));
}

void QRMAppDelegate::showTweetMaxCleanedMenuItem() {
    // Shared under the last-cleaning campaign word on purpose.
    openSharePage(QStringLiteral("tweetmaxcleaned"), sizeText(settings_.maxCleaned(), false),
                  QStringLiteral("tweetlasttimecleaned"));
}

void QRMAppDelegate::showTweetTotallyCleanedMenuItem() {
    openSharePage(QStringLiteral("tweettotallycleaned"), getTotallyCleanedString(),
                  QStringLiteral("tweettotallycleaned"));
}

void QRMAppDelegate::openSitePage(const QString &pathFormat, const QString &campaign) {
    // pathFormat holds %1 for the language segment.
    const QString query = QRMMakeURL().makeUTMParamsURLPartWith({}, {}, {}, {}, campaign);
    const QString path = pathFormat.arg(localized_(QStringLiteral("language")));
    urlOpener_.openURL(
        QUrl(QRMConstants::sharedConstants().siteURL() + path + QStringLiteral("/?") + query));
}

void QRMAppDelegate::showCustomerSupportPage() {
    openSitePage(QStringLiteral("/support/%1"), QStringLiteral("support"));
}

void QRMAppDelegate::showLearnMorePage() {
    // The same page as the product command, counted as a support visit.
    openSitePage(QStringLiteral("/%1"), QStringLiteral("support"));
}

void QRMAppDelegate::showProductPage() {
    openSitePage(QStringLiteral("/%1"), QRMConstants::sharedConstants().siteURL());
}

void QRMAppDelegate::showPrivacyPage() {
    openSitePage(QStringLiteral("/privacy/%1"), QStringLiteral("privacy"));
}

}  // namespace tarnwell
