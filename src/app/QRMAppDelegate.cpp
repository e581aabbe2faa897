#include "app/QRMAppDelegate.h"

#include <system_error>

#include <QCoreApplication>
#include <QUrl>

#include "BuildInfo.h"
#include "StatusBarIcons.h"
#include "app/AppSettings.h"
#include "app/LoginItems.h"
#include "app/MemoryEngine.h"
#include "app/QRMMakeURL.h"
#include "app/RecordValues.h"
#include "app/SizeText.h"
#include "app/StatusIcons.h"
#include "app/StatusItemView.h"
#include "app/UpdateChecks.h"
#include "app/UrlOpener.h"
#include "app/UsageEvents.h"
#include "app/UserNotifier.h"
#include "preferences/QRMConstants.h"
#include "preferences/QRMSettingValue.h"
#include "threads/StartThread.h"

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

// The one place the controller starts a thread.
void runOnNewThread(std::function<void()> task) {
    threads::startThread(std::move(task)).detach();
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
      updater_(services.updater),
      loginItems_(services.loginItems),
      loginItemPath_(std::move(services.loginItemPath)),
      runInBackground_(services.runInBackground ? std::move(services.runInBackground)
                                                : BackgroundRunner(runOnNewThread)),
      applicationEvents_(services.applicationEvents),
      searchApplicationsAndUtilitiesInBackground_(
          std::move(services.searchApplicationsAndUtilitiesInBackground)) {
    connect(&refreshMemoryInfoTimer_, &QTimer::timeout, this, &QRMAppDelegate::refreshMemoryInfo);
    connect(&autoCleanEveryTimeTimer_, &QTimer::timeout, this,
            [this] { cleanMemoryNow(CleaningTrigger::Automatic); });
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
    // Returns only once no observer call is running or about to run.
    engine_.removeMemoryCleanedObserver(memoryCleanedObserver_);
    std::unique_lock lock(backgroundMutex_);
    backgroundFinished_.wait(lock, [this] { return backgroundTasks_ == 0; });
}

void QRMAppDelegate::connectMenuCommands() {
    connect(statusMenu_.cleanMemoryNow, &QRMMenuItem::triggered, this,
            [this] { cleanMemoryNow(CleaningTrigger::User); });
    const std::pair<QRMMenuItem *, void (QRMAppDelegate::*)()> commands[] = {
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
    const bool firstRun = settings_.isFirstRun();
    if (firstRun && loginItems_ && !loginItems_->findApplicationAtLoginItems(loginItemPath_)) {
        loginItems_->addApplicationToLoginItems(loginItemPath_);
    }
    if (usageEvents_) {
        if (firstRun) {
            usageEvents_->firstRun();
        } else {
            usageEvents_->run();
        }
    }
}

void QRMAppDelegate::applicationDidFinishLaunching() {
    if (updater_ && settings_.isFirstRun()) {
        updater_->setAutomaticallyChecksForUpdates(true);
        updater_->setAutomaticallyDownloadsUpdates(true);
        updater_->checkForUpdatesInBackground();
    }
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

void QRMAppDelegate::cleanMemoryNow(CleaningTrigger trigger) {
    if (memoryCleaningInProgress_) {
        return;
    }
    cleaningTrigger_ = trigger;
    // A cleaning recorded but not yet told means this request comes from the
    // threshold check at the end of a completed one.
    chainedCleaning_ = freeMemoryBefore_ != 0;
    invalidateRefreshMemoryInfoTimer();
    setMemoryCleaningInProgress(true);
    {
        std::lock_guard lock(backgroundMutex_);
        ++backgroundTasks_;
    }
    const auto declined = [this] {
        QMetaObject::invokeMethod(this, &QRMAppDelegate::memoryCleaningDeclined,
                                  Qt::QueuedConnection);
    };
    try {
        runInBackground_([this, declined] {
            // A refusal is not a finished cleaning: treating it as one re-ran
            // the threshold check, which asked again at once, thousands of
            // times a second while memory was short.
            if (!engine_.cleanMemoryNow().started()) {
                declined();
            }
            backgroundTaskFinished();
        });
    } catch (const std::system_error &) {
        // No thread to be had: as good as a refusal.
        backgroundTaskFinished();
        declined();
    }
}

void QRMAppDelegate::backgroundTaskFinished() {
    // Notify under the lock: the destructor may go ahead as soon as it sees
    // the count reach 0.
    std::lock_guard lock(backgroundMutex_);
    --backgroundTasks_;
    backgroundFinished_.notify_all();
}

void QRMAppDelegate::memoryCleaningDeclined() {
    memoryCleaningInProgress_ = false;
    if (chainedCleaning_) {
        // An earlier cleaning of this chain completed, and the sample taken
        // after it stands as the chain's result.
        recordCleaning();
    } else {
        enableCleanCommandAgain();
        refreshStatusMenu();
        if (cleaningTrigger_ == CleaningTrigger::User) {
            setStatusItemTitle(localized_(QStringLiteral("NothingtoClean")));
        }
    }
    emit memoryCleaningInProgressChanged(false);
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
            freeMemoryBefore_ = exactBytes(engine_.info(), keys::freeCount);
        }
    } else if (freeMemoryBefore_ != 0) {
        recordCleaning();
    }
    emit memoryCleaningInProgressChanged(memoryCleaningInProgress_);
}

void QRMAppDelegate::recordCleaning() {
    freeMemoryAfter_ = exactBytes(engine_.info(), keys::freeCount);
    if (freeMemoryAfter_ <= freeMemoryBefore_) {
        setStatusItemTitle(localized_(QStringLiteral("NothingtoClean")));
        settings_.setLastTimeCleaned(0);
    } else {
        const uint64_t freed = freeMemoryAfter_ - freeMemoryBefore_;
        const QString message = QStringLiteral("%1 %2").arg(sizeText(freed, false),
                                                            localized_(QStringLiteral("Cleaned")));
        setStatusItemTitle(message);
        if (notifier_ && settings_.showNotificationsAfterCleaning()) {
            notifier_->showNotificationWithTitle(QString::fromLatin1(kDisplayName), message,
                                                 QString::fromLatin1(kDefaultNotificationSound));
        }
        settings_.setLastTimeCleaned(freed);
        if (freed > settings_.maxCleaned()) {
            settings_.setMaxCleaned(freed);
        }
        settings_.setTotallyCleaned(addFreedBytes(settings_.totallyCleaned(), freed));
    }
    enableCleanCommandAgain();
}

void QRMAppDelegate::enableCleanCommandAgain() {
    statusMenu_.cleanMemoryNow->setTitle(localized_(QStringLiteral("CleanMemoryNow")));
    statusMenu_.cleanMemoryNow->setEnabled(true);
    setupRefreshMemoryInfoTimer();
    freeMemoryBefore_ = 0;
    freeMemoryAfter_ = 0;
}

void QRMAppDelegate::checkToAutoClean() {
    if (settings_.autoCleanByFreeSizeChecked() && !memoryCleaningInProgress_) {
        const uint64_t freeMiB = exactBytes(engine_.info(), keys::freeCount) >> 20;
        if (freeMiB < uint64_t(settings_.autoCleanByFreeSize())) {
            cleanMemoryNow(CleaningTrigger::Automatic);
        }
    }
    if (settings_.autoCleanByInactiveSizeChecked() && !memoryCleaningInProgress_) {
        const uint64_t inactiveMiB = exactBytes(engine_.info(), keys::inactiveCount) >> 20;
        if (inactiveMiB > uint64_t(settings_.autoCleanByInactiveSize())) {
            cleanMemoryNow(CleaningTrigger::Automatic);
        }
    }
}

void QRMAppDelegate::setStatusItemTitle(const QString &title) {
    if (settings_.statusBarTextType() != kTextNone && statusItem_) {
        statusItem_->setTitle(title);
    }
}

void QRMAppDelegate::refreshStatusMenu() {
    // A language chosen in another process (`tarnwell settings AppleLanguages
    // ru`) reaches every lookup at once but sends no languageDidChanged here:
    // the static titles follow the language of the figures.
    if (const QString language = localized_(QStringLiteral("language"));
        language != staticTitlesLanguage_) {
        staticTitlesLanguage_ = language;
        statusMenu_.setStaticTitles(localized_);
    }
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
    const QRMStatisticsRecord record = engine_.info();
    const QString freePercent = percentText(floatValue(record, keys::freePercents));
    const QString freeSize = sizeText(exactBytes(record, keys::freeCount), false);
    const std::string problem = engine_.sampleProblem();
    if (!problem.empty()) {
        // Whatever the text setting: hosts show the title as the tool tip,
        // and a figure the kernel did not give would be made up.
        title = QStringLiteral("%1: %2").arg(localized_(QStringLiteral("MemoryUnreadable")),
                                             QString::fromStdString(problem));
    } else if (textType != kTextNone) {
        if (settings_.statusBarTextWithInfo()) {
            title = QStringLiteral("%1: ").arg(localized_(QStringLiteral("Free")));
        }
        if (textType == kTextPercent) {
            title += freePercent;
        } else if (textType == kTextSize) {
            title += freeSize;
        }
    }
    if (statusItem_) {
        statusItem_->setTitle(title);
        // A bare figure on the panel says neither free nor used; the tool tip
        // names it, whatever the title shows (and repeats an unreadable sample).
        statusItem_->setToolTip(problem.empty() ? QStringLiteral("%1: %2 (%3)")
                                                      .arg(localized_(QStringLiteral("FreeMemory")),
                                                           freeSize, freePercent)
                                                : title);
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
    staticTitlesLanguage_ = localized_(QStringLiteral("language"));
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
    if (updater_) {
        updater_->checkForUpdates();
    }
}

void QRMAppDelegate::showWelcomePage() {
    emit welcomePageRequested();
}

void QRMAppDelegate::welcomeWindowDidLoad() {
    if (usageEvents_) {
        usageEvents_->contentViewWithName(QStringLiteral("Welcome"), QStringLiteral("Window"),
                                          QStringLiteral("welcomeWindow"));
    }
}

void QRMAppDelegate::welcomeWindowWillClose() {
    settings_.setIsWelcomeShown(true);
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
