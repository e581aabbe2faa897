#include "updates/QRMUpdater.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QPointer>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <algorithm>
#include <utility>

#include "preferences/QRMPreferencesManager.h"
#include "updates/PackageInstaller.h"
#include "updates/UpdateDownload.h"
#include "updates/UpdateSignature.h"
#include "updates/VersionComparator.h"

Q_LOGGING_CATEGORY(lcUpdates, "tarnwell.updates")

namespace tarnwell {

namespace {

// Feeds and release notes are text; a larger one is not one of ours.
constexpr qint64 kMaximumFeedBytes = 4 << 20;
constexpr qint64 kMaximumReleaseNotesBytes = 1 << 20;
// The package is held in memory once, mapped, for the signature check.
constexpr qint64 kMaximumPackageBytes = qint64(1) << 30;
constexpr qint64 kLongestInterval = 31'557'600;  // a Julian year
// QTimer counts in int milliseconds (24.8 days); longer waits are chained.
constexpr std::chrono::seconds kLongestTimerWait{86'400};

// Only a plain name of our own making reaches the disk: the feed chooses
// nothing about where the package lands.
QString packageFileName(const AppcastItem &item) {
    static const QRegularExpression unsafe(QStringLiteral("[^A-Za-z0-9._+~-]"));
    QString version = item.version;
    version.replace(unsafe, QStringLiteral("_"));
    return QStringLiteral("tarnwell-%1.deb").arg(version.left(64));
}

}  // namespace

QRMUpdater::QRMUpdater(QRMPreferencesManager &preferences, PackageInstaller &installer,
                       Environment environment, QObject *parent)
    : QObject(parent),
      preferences_(preferences),
      installer_(installer),
      environment_(std::move(environment)) {
    scheduler_.setSingleShot(true);
    connect(&scheduler_, &QTimer::timeout, this, &QRMUpdater::scheduledCheckDue);
    scheduleNextCheck();
}

QRMUpdater::~QRMUpdater() {
    // The transfer and a partial package go with the updater: quitting in
    // the middle leaves no half-written file behind.
    delete transfer_;
}

qint64 QRMUpdater::now() const {
    return environment_.secondsSinceEpoch ? environment_.secondsSinceEpoch()
                                          : QDateTime::currentSecsSinceEpoch();
}

void QRMUpdater::setFeedURL(const QUrl &feedURL) {
    feedURL_ = feedURL;
}

bool QRMUpdater::automaticallyChecksForUpdates() {
    return preferences_.value(Setting::AutomaticallyChecksForUpdates).toBool();
}

void QRMUpdater::setAutomaticallyChecksForUpdates(bool on) {
    preferences_.setValue(Setting::AutomaticallyChecksForUpdates, on);
    scheduleNextCheck();
}

bool QRMUpdater::automaticallyDownloadsUpdates() {
    return preferences_.value(Setting::AutomaticallyDownloadsUpdates).toBool();
}

void QRMUpdater::setAutomaticallyDownloadsUpdates(bool on) {
    preferences_.setValue(Setting::AutomaticallyDownloadsUpdates, on);
}

qint64 QRMUpdater::updateCheckInterval() {
    return std::clamp(preferences_.value(Setting::UpdateCheckInterval).toLongLong(),
                      updateInterval::kHourly, kLongestInterval);
}

void QRMUpdater::setUpdateCheckInterval(qint64 seconds) {
    preferences_.setValue(Setting::UpdateCheckInterval, seconds);
    scheduleNextCheck();
}

std::optional<std::chrono::seconds> QRMUpdater::nextScheduledCheck() {
    if (!automaticallyChecksForUpdates()) {
        return std::nullopt;
    }
    const qint64 interval = updateCheckInterval();
    const qint64 elapsed = now() - preferences_.value(Setting::LastUpdateCheckTime).toLongLong();
    // A last check "in the future" (clock set back, edited file) counts as
    // just made, so the wait never exceeds one interval.
    if (elapsed < 0) {
        return std::chrono::seconds(interval);
    }
    return std::chrono::seconds(std::max<qint64>(0, interval - elapsed));
}

void QRMUpdater::scheduleNextCheck() {
    const std::optional<std::chrono::seconds> wait = nextScheduledCheck();
    if (!wait) {
        scheduler_.stop();
        return;
    }
    scheduler_.start(std::min(*wait, kLongestTimerWait));
}

void QRMUpdater::scheduledCheckDue() {
    const std::optional<std::chrono::seconds> wait = nextScheduledCheck();
    if (wait && wait->count() == 0) {
        // Busy: the running session reschedules when it ends.
        checkForUpdatesInBackground();
    } else {
        scheduleNextCheck();
    }
}

bool QRMUpdater::sessionInProgress() const {
    return transfer_ != nullptr || installing_;
}

bool QRMUpdater::readyToInstall() const {
    return !readyPackage_.isEmpty();
}

void QRMUpdater::checkForUpdateInformation() {
    startCheck(Check::Information);
}

void QRMUpdater::checkForUpdatesInBackground() {
    startCheck(Check::Background);
}

void QRMUpdater::checkForUpdates() {
    startCheck(Check::User);
}

template <typename Finished>
UpdateDownload *QRMUpdater::startTransfer(const QUrl &url, qint64 maximumBytes,
                                          Finished onFinished) {
    UpdateDownload::Limits limits{maximumBytes, std::nullopt, environment_.stallTimeout};
    transfer_ = new UpdateDownload(network_, url, limits, nullptr, this);
    connect(transfer_, &UpdateDownload::finished, this, onFinished);
    return transfer_;
}

void QRMUpdater::startCheck(Check kind) {
    if (sessionInProgress()) {
        // The user's own session already answers them; anything else is
        // finished first, and then the user's check runs.
        userCheckPending_ = userCheckPending_ || (kind == Check::User && !userSession_);
        return;
    }
    userSession_ = kind == Check::User;
    startTransfer(feedURL_, kMaximumFeedBytes,
                  [this, kind](const QString &failure) { feedFinished(kind, failure); });
}

void QRMUpdater::feedFinished(Check kind, const QString &failure) {
    const QByteArray feed = transfer_->body();
    transfer_->deleteLater();
    transfer_ = nullptr;
    const bool tellUser = kind == Check::User;
    if (kind != Check::Information) {
        // Failed checks count too: a broken feed waits a full interval.
        preferences_.setValue(Setting::LastUpdateCheckTime, now());
    }
    if (!failure.isEmpty()) {
        fail(tellUser, UpdateFailure::Feed, failure);
        return;
    }
    const auto parsed = parseAppcast(feed, feedURL_);
    if (const auto *error = std::get_if<AppcastError>(&parsed)) {
        fail(tellUser, UpdateFailure::Feed, error->message);
        return;
    }
    std::optional<AppcastItem> newest =
        newestItem(std::get<QList<AppcastItem>>(parsed), environment_.systemVersion);
    if (newest && compareVersions(newest->version, environment_.currentVersion) <= 0) {
        newest.reset();
    }
    if (!newest || !foundItem_ || foundItem_->version != newest->version ||
        foundItem_->url != newest->url) {
        // A different release: an earlier download is not for it.
        if (!readyPackage_.isEmpty()) {
            QFile::remove(readyPackage_);
            readyPackage_.clear();
        }
    }
    foundItem_ = newest;

    if (kind == Check::Information) {
        endSession();
    } else if (kind == Check::User) {
        if (!foundItem_) {
            if (ui_) {
                ui_->showUpToDate(environment_.currentDisplayVersion);
            }
            endSession();
        } else {
            presentFoundUpdate();
        }
    } else if (!foundItem_ ||
               foundItem_->version == preferences_.value(Setting::SkippedVersion).toString()) {
        endSession();
    } else if (automaticallyDownloadsUpdates() && !readyToInstall()) {
        startDownload(true);
    } else {
        if (ui_) {
            ui_->notifyUpdateFound(*foundItem_, readyToInstall());
        }
        endSession();
    }
}

void QRMUpdater::showFoundUpdate() {
    if (foundItem_ && !sessionInProgress()) {
        userSession_ = true;
        presentFoundUpdate();
    }
}

void QRMUpdater::presentFoundUpdate() {
    const AppcastItem item = *foundItem_;
    const auto show = [this, item](const QString &notes) {
        if (ui_) {
            ui_->showUpdateFound(item, notes, readyToInstall());
        }
        endSession();
    };
    if (item.releaseNotesLink.isEmpty()) {
        show(item.itemDescription);
        return;
    }
    startTransfer(item.releaseNotesLink, kMaximumReleaseNotesBytes,
                  [this, item, show](const QString &failure) {
                      const QByteArray notes = transfer_->body();
                      transfer_->deleteLater();
                      transfer_ = nullptr;
                      if (!failure.isEmpty()) {
                          qCInfo(lcUpdates) << "release notes not read:" << failure;
                      }
                      show(failure.isEmpty() ? QString::fromUtf8(notes) : item.itemDescription);
                  });
}

void QRMUpdater::installUpdate() {
    if (!foundItem_ || sessionInProgress()) {
        return;
    }
    userSession_ = true;
    if (readyToInstall()) {
        runInstall();
    } else {
        startDownload(false);
    }
}

void QRMUpdater::remindLater() {
    // Nothing to keep: the next scheduled check finds the update again.
}

void QRMUpdater::skipThisVersion() {
    if (foundItem_) {
        preferences_.setValue(Setting::SkippedVersion, foundItem_->version);
    }
}

void QRMUpdater::cancelDownload() {
    if (partialPackage_ && transfer_) {
        cancelRequested_ = true;
        transfer_->cancel();
    }
}

void QRMUpdater::startDownload(bool silently) {
    const AppcastItem &item = *foundItem_;
    if (item.length > kMaximumPackageBytes) {
        fail(!silently, UpdateFailure::Download,
             QStringLiteral("the package is larger than %1 bytes").arg(kMaximumPackageBytes));
        return;
    }
    const QString folder = environment_.downloadsFolder;
    // A link in place of the folder could send the package anywhere.
    if (!QDir().mkpath(folder) || QFileInfo(folder).isSymLink()) {
        fail(!silently, UpdateFailure::Download,
             QStringLiteral("the folder %1 cannot hold downloads").arg(folder));
        return;
    }
    partialPackage_ =
        std::make_unique<QTemporaryFile>(folder + QStringLiteral("/download-XXXXXX.part"));
    if (!partialPackage_->open()) {
        const QString why = partialPackage_->errorString();
        partialPackage_.reset();
        fail(!silently, UpdateFailure::Download, why);
        return;
    }
    cancelRequested_ = false;
    UpdateDownload::Limits limits{item.length, item.length, environment_.stallTimeout};
    transfer_ = new UpdateDownload(network_, item.url, limits, partialPackage_.get(), this);
    if (!silently) {
        connect(transfer_, &UpdateDownload::progress, this, [this](qint64 received, qint64 total) {
            if (ui_) {
                ui_->showDownloadProgress(received, total);
            }
        });
    }
    connect(transfer_, &UpdateDownload::finished, this,
            [this, silently](const QString &failure) { downloadFinished(silently, failure); });
}

bool QRMUpdater::verifyPackage(QFile &file, const AppcastItem &item) const {
    if (file.size() != item.length) {
        return false;
    }
    const uchar *bytes = file.map(0, file.size());
    if (!bytes) {
        return false;
    }
    const bool verified =
        verifyEd25519(environment_.publicKey, item.edSignature, {bytes, size_t(file.size())});
    file.unmap(const_cast<uchar *>(bytes));
    return verified;
}

void QRMUpdater::downloadFinished(bool silently, const QString &failure) {
    transfer_->deleteLater();
    transfer_ = nullptr;
    if (!failure.isEmpty()) {
        // The temporary file removes itself.
        partialPackage_.reset();
        fail(!silently && !cancelRequested_, UpdateFailure::Download, failure);
        return;
    }
    if (!partialPackage_->flush() || !verifyPackage(*partialPackage_, *foundItem_)) {
        partialPackage_.reset();
        fail(!silently, UpdateFailure::Verification,
             QStringLiteral("the file does not carry the developer's signature"));
        return;
    }
    const QString ready =
        QFileInfo(partialPackage_->fileName()).dir().filePath(packageFileName(*foundItem_));
    // rename() replaces whatever sits under the name, a link included,
    // without following it.
    if (!partialPackage_->rename(ready)) {
        const QString why = partialPackage_->errorString();
        partialPackage_.reset();
        fail(!silently, UpdateFailure::Download, why);
        return;
    }
    partialPackage_->setAutoRemove(false);
    partialPackage_.reset();
    readyPackage_ = ready;
    if (silently) {
        if (ui_) {
            ui_->notifyUpdateFound(*foundItem_, true);
        }
        endSession();
    } else {
        runInstall();
    }
}

void QRMUpdater::runInstall() {
    // Checked again: the file waited in a folder others of this user can write.
    QFile package(readyPackage_);
    if (QFileInfo(readyPackage_).isSymLink() || !package.open(QIODevice::ReadOnly) ||
        !verifyPackage(package, *foundItem_)) {
        QFile::remove(readyPackage_);
        readyPackage_.clear();
        fail(true, UpdateFailure::Verification,
             QStringLiteral("the downloaded file changed after it was checked"));
        return;
    }
    package.close();
    installing_ = true;
    if (ui_) {
        ui_->showInstalling();
    }
    const AppcastItem item = *foundItem_;
    installer_.install(readyPackage_,
                       [this, guard = QPointer<QRMUpdater>(this), item](
                           PackageInstaller::Outcome outcome, const QString &detail) {
                           if (!guard) {
                               return;
                           }
                           installing_ = false;
                           switch (outcome) {
                               case PackageInstaller::Outcome::Installed:
                                   QFile::remove(readyPackage_);
                                   readyPackage_.clear();
                                   foundItem_.reset();
                                   if (ui_) {
                                       ui_->offerRestart(item);
                                   }
                                   endSession();
                                   break;
                               case PackageInstaller::Outcome::HandedOver:
                                   endSession();
                                   break;
                               case PackageInstaller::Outcome::Refused:
                                   fail(true, UpdateFailure::Install,
                                        QStringLiteral("the installation was not authorised"));
                                   break;
                               case PackageInstaller::Outcome::Failed:
                                   fail(true, UpdateFailure::Install, detail);
                                   break;
                           }
                       });
}

void QRMUpdater::fail(bool tellUser, UpdateFailure failure, const QString &detail) {
    qCInfo(lcUpdates) << "update step failed:" << int(failure) << detail;
    if (tellUser && ui_) {
        ui_->showFailure(failure, detail);
    }
    endSession();
}

void QRMUpdater::endSession() {
    userSession_ = false;
    scheduleNextCheck();
    emit sessionFinished();
    if (std::exchange(userCheckPending_, false)) {
        checkForUpdates();
    }
}

}  // namespace tarnwell
