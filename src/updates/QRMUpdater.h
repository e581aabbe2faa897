#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include "app/UpdateChecks.h"
#include "preferences/Updater.h"
#include "updates/Appcast.h"
#include "updates/UpdaterUserInterface.h"

class QFile;
class QTemporaryFile;

namespace tarnwell {

class PackageInstaller;
class QRMPreferencesManager;
class UpdateDownload;

// The program's updater: reads the appcast feed in use, compares its newest
// item with the running build, and takes a newer one through download,
// length and signature checks and installation. Checks run in the background
// at the chosen interval (remembered across restarts), when the user asks,
// and silently when the feed changes. Its settings live in the preferences
// store under the update framework's key names.
//
// One session at a time: a check, the download it leads to, the install.
// Everything runs on the thread that owns the updater; the network works
// behind QNetworkAccessManager.
class QRMUpdater : public QObject, public Updater, public UpdateChecks {
    Q_OBJECT
public:
    struct Environment {
        QString currentVersion;         // the build number compared with sparkle:version
        QString currentDisplayVersion;  // shown when up to date
        QString systemVersion;          // compared with sparkle:minimumSystemVersion
        QString downloadsFolder;        // verified packages wait here
        QByteArray publicKey;           // Ed25519, raw 32 bytes
        std::function<qint64()> secondsSinceEpoch;  // empty: the system clock
        std::chrono::milliseconds stallTimeout{30'000};
    };

    QRMUpdater(QRMPreferencesManager &preferences, PackageInstaller &installer,
               Environment environment, QObject *parent = nullptr);
    ~QRMUpdater() override;

    // Null: no windows or notifications (checks still run).
    void setUserInterface(UpdaterUserInterface *userInterface) { ui_ = userInterface; }

    void setFeedURL(const QUrl &feedURL) override;
    const QUrl &feedURL() const { return feedURL_; }
    // Fetches the feed and remembers its newest item, showing nothing.
    void checkForUpdateInformation() override;

    bool automaticallyChecksForUpdates() override;
    void setAutomaticallyChecksForUpdates(bool on) override;
    bool automaticallyDownloadsUpdates() override;
    void setAutomaticallyDownloadsUpdates(bool on) override;
    // A stored value below an hour or above a year is brought within them.
    qint64 updateCheckInterval() override;
    void setUpdateCheckInterval(qint64 seconds) override;

    void checkForUpdatesInBackground() override;
    void checkForUpdates() override;

    // The update window's answers.
    void installUpdate();
    void remindLater();
    void skipThisVersion();
    void cancelDownload();
    // The notification was activated: show the window for the found update.
    void showFoundUpdate();

    // How long until the next automatic check; nothing while they are off.
    std::optional<std::chrono::seconds> nextScheduledCheck();
    // The newer item the last check found, if any.
    const std::optional<AppcastItem> &foundItem() const { return foundItem_; }
    bool sessionInProgress() const;

signals:
    // A check, download or install ended, whatever its outcome.
    void sessionFinished();

private:
    enum class Check { Information, Background, User };

    void startCheck(Check kind);
    void feedFinished(Check kind, const QString &failure);
    void presentFoundUpdate();
    void startDownload(bool silently);
    void downloadFinished(bool silently, const QString &failure);
    void runInstall();
    bool verifyPackage(QFile &file, const AppcastItem &item) const;
    void fail(bool tellUser, UpdateFailure failure, const QString &detail);
    void endSession();
    void scheduleNextCheck();
    void scheduledCheckDue();
    bool readyToInstall() const;
    qint64 now() const;
    template <typename Finished>
    UpdateDownload *startTransfer(const QUrl &url, qint64 maximumBytes, Finished onFinished);

    QRMPreferencesManager &preferences_;
    PackageInstaller &installer_;
    Environment environment_;
    UpdaterUserInterface *ui_ = nullptr;
    QNetworkAccessManager network_;
    QTimer scheduler_;
    QUrl feedURL_;

    UpdateDownload *transfer_ = nullptr;  // the feed, release notes or package in flight
    std::unique_ptr<QTemporaryFile> partialPackage_;
    bool cancelRequested_ = false;
    // The running session answers the user (their check, their install).
    bool userSession_ = false;
    // The user asked while a background session ran: checked when it ends.
    bool userCheckPending_ = false;
    bool installing_ = false;
    std::optional<AppcastItem> foundItem_;
    QString readyPackage_;  // verified download of foundItem_, or empty
};

}  // namespace tarnwell
