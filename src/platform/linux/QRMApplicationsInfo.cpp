#include "platform/linux/QRMApplicationsInfo.h"

#include "preferences/QRMPreferencesManager.h"
#include "threads/StartThread.h"

namespace tarnwell {

QRMApplicationsInfo &QRMApplicationsInfo::sharedApplicationsInfo() {
    static QRMApplicationsInfo catalogue(Sources{
        applicationFolders,
        [] {
            return QRMPreferencesManager::sharedPreferencesManager()
                .showApplicationsFromApplicationsFolder();
        },
        [] {
            return QRMPreferencesManager::sharedPreferencesManager()
                .showUtilitiesFromApplicationsFolder();
        },
    });
    return catalogue;
}

QRMApplicationsInfo::QRMApplicationsInfo(Sources sources, QObject *parent)
    : QObject(parent), sources_(std::move(sources)) {}

QRMApplicationsInfo::~QRMApplicationsInfo() {
    stopping_ = true;
    std::lock_guard lock(workerMutex_);
    if (worker_.joinable()) {
        worker_.join();
    }
}

QList<DesktopFile> QRMApplicationsInfo::applicationList() const {
    std::lock_guard lock(listsMutex_);
    return applicationList_;
}

void QRMApplicationsInfo::setApplicationList(const QList<DesktopFile> &list) {
    std::lock_guard lock(listsMutex_);
    applicationList_ = list;
}

QList<DesktopFile> QRMApplicationsInfo::utilityList() const {
    std::lock_guard lock(listsMutex_);
    return utilityList_;
}

void QRMApplicationsInfo::setUtilityList(const QList<DesktopFile> &list) {
    std::lock_guard lock(listsMutex_);
    utilityList_ = list;
}

void QRMApplicationsInfo::setSearchApplicationsAndUtilitiesInProgress(bool inProgress) {
    inProgress_ = inProgress;
    emit searchApplicationsAndUtilitiesInProgressChanged();
}

void QRMApplicationsInfo::searchApplicationsAndUtilities() {
    // Test and set in one step: two searches started together must not both run.
    if (inProgress_.exchange(true)) {
        return;
    }
    setSearchApplicationsAndUtilitiesInProgress(true);
    bool needed = false;
    {
        std::lock_guard lock(listsMutex_);
        needed = (sources_.showApplications() && applicationList_.isEmpty()) ||
                 (sources_.showUtilities() && utilityList_.isEmpty());
    }
    if (needed) {
        QList<DesktopFile> applications;
        QList<DesktopFile> utilities;
        const QStringList utilityCategories{QStringLiteral("Utility"), QStringLiteral("System")};
        forEachDesktopEntry(
            sources_.folders(),
            [&](const DesktopFile &file, const DesktopEntry &entry) {
                if (!isVisibleApplicationEntry(entry)) {
                    return true;
                }
                applications.append(file);
                const QStringList categories = entry.strings(QStringLiteral("Categories"));
                if (std::any_of(utilityCategories.cbegin(), utilityCategories.cend(),
                                [&](const QString &c) { return categories.contains(c); })) {
                    utilities.append(file);
                }
                return true;
            },
            &stopping_);
        std::lock_guard lock(listsMutex_);
        applicationList_ += applications;
        utilityList_ += utilities;
    }
    setSearchApplicationsAndUtilitiesInProgress(false);
}

void QRMApplicationsInfo::searchApplicationsAndUtilitiesInBackground() {
    std::lock_guard lock(workerMutex_);
    if (stopping_ || inProgress_) {
        return;
    }
    // The previous search has ended (the flag is down), so this returns at once.
    if (worker_.joinable()) {
        worker_.join();
    }
    worker_ = threads::startThread([this] { searchApplicationsAndUtilities(); });
}

}  // namespace tarnwell
