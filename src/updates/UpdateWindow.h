#pragma once

#include <QWidget>
#include <functional>

#include "app/Localizer.h"
#include "updates/UpdaterUserInterface.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

namespace tarnwell {

class QRMUpdater;

// The updater's one window: up to date, a new version with its release notes
// (Install / Remind me later / Skip this version), download progress with
// Cancel, installing, the offer to restart, and failures. Background findings
// go to a desktop notification whose click opens the window.
class UpdateWindow : public QWidget, public UpdaterUserInterface {
    Q_OBJECT
public:
    // title, text, action label, what a click does.
    using Notify = std::function<void(const QString &, const QString &, const QString &,
                                      std::function<void()>)>;

    UpdateWindow(QRMUpdater &updater, Localizer localized, Notify notify,
                 std::function<void()> restart);

    void showUpToDate(const QString &version) override;
    void showUpdateFound(const AppcastItem &item, const QString &releaseNotes,
                         bool readyToInstall) override;
    void notifyUpdateFound(const AppcastItem &item, bool readyToInstall) override;
    void showDownloadProgress(qint64 received, qint64 total) override;
    void showInstalling() override;
    void offerRestart(const AppcastItem &item) override;
    void showFailure(UpdateFailure failure, const QString &detail) override;

private:
    enum class Buttons { Close, Decide, Cancel, None, Restart };
    void present(const QString &headline, const QString &information, Buttons buttons);

    QRMUpdater &updater_;
    Localizer localized_;
    Notify notify_;
    std::function<void()> restart_;
    QLabel *headline_;
    QLabel *information_;
    QTextBrowser *releaseNotes_;
    QProgressBar *progress_;
    QPushButton *skip_;
    QPushButton *remindLater_;
    QPushButton *install_;
    QPushButton *cancel_;
    QPushButton *restartNow_;
    QPushButton *close_;
    Buttons page_ = Buttons::Close;
};

}  // namespace tarnwell
