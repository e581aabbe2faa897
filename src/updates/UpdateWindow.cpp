#include "updates/UpdateWindow.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "BuildInfo.h"
#include "updates/QRMUpdater.h"

namespace tarnwell {

UpdateWindow::UpdateWindow(QRMUpdater &updater, Localizer localized, Notify notify,
                           std::function<void()> restart)
    : updater_(updater),
      localized_(std::move(localized)),
      notify_(std::move(notify)),
      restart_(std::move(restart)),
      headline_(new QLabel),
      information_(new QLabel),
      releaseNotes_(new QTextBrowser),
      progress_(new QProgressBar),
      skip_(new QPushButton),
      remindLater_(new QPushButton),
      install_(new QPushButton),
      cancel_(new QPushButton),
      restartNow_(new QPushButton),
      close_(new QPushButton) {
    for (auto [button, name] : {std::pair{skip_, "skip"},
                                {remindLater_, "remindLater"},
                                {install_, "install"},
                                {cancel_, "cancel"},
                                {restartNow_, "restartNow"},
                                {close_, "close"}}) {
        button->setObjectName(QLatin1StringView(name));
    }
    QFont bold = headline_->font();
    bold.setBold(true);
    headline_->setFont(bold);
    information_->setWordWrap(true);
    // Release notes come from the network: shown as rich text, but nothing
    // they link to is fetched or opened inside the program.
    releaseNotes_->setOpenLinks(false);
    releaseNotes_->setMinimumSize(420, 220);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(skip_);
    buttons->addStretch();
    for (QPushButton *button : {remindLater_, install_, cancel_, restartNow_, close_}) {
        buttons->addWidget(button);
    }
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headline_);
    layout->addWidget(information_);
    layout->addWidget(releaseNotes_, 1);
    layout->addWidget(progress_);
    layout->addLayout(buttons);

    connect(skip_, &QPushButton::clicked, this, [this] {
        updater_.skipThisVersion();
        close();
    });
    connect(remindLater_, &QPushButton::clicked, this, [this] {
        updater_.remindLater();
        close();
    });
    connect(install_, &QPushButton::clicked, this, [this] { updater_.installUpdate(); });
    connect(cancel_, &QPushButton::clicked, this, [this] {
        updater_.cancelDownload();
        close();
    });
    connect(restartNow_, &QPushButton::clicked, this, [this] { restart_(); });
    connect(close_, &QPushButton::clicked, this, &QWidget::close);
}

void UpdateWindow::present(const QString &headline, const QString &information, Buttons buttons) {
    page_ = buttons;
    setWindowTitle(localized_(QStringLiteral("UpdateWindowTitle")));
    headline_->setText(headline);
    information_->setText(information);
    skip_->setText(localized_(QStringLiteral("UpdateSkipThisVersion")));
    remindLater_->setText(localized_(QStringLiteral("UpdateRemindMeLater")));
    install_->setText(localized_(QStringLiteral("UpdateInstall")));
    cancel_->setText(localized_(QStringLiteral("UpdateCancel")));
    restartNow_->setText(localized_(QStringLiteral("UpdateRestartNow")));
    close_->setText(localized_(buttons == Buttons::Restart ? QStringLiteral("UpdateLater")
                                                           : QStringLiteral("UpdateClose")));

    skip_->setVisible(buttons == Buttons::Decide);
    remindLater_->setVisible(buttons == Buttons::Decide);
    install_->setVisible(buttons == Buttons::Decide);
    cancel_->setVisible(buttons == Buttons::Cancel);
    restartNow_->setVisible(buttons == Buttons::Restart);
    close_->setVisible(buttons == Buttons::Close || buttons == Buttons::Restart);
    releaseNotes_->setVisible(buttons == Buttons::Decide);
    progress_->setVisible(buttons == Buttons::Cancel || buttons == Buttons::None);
    if (buttons == Buttons::Decide) {
        install_->setDefault(true);
    }
    show();
    raise();
    activateWindow();
}

void UpdateWindow::showUpToDate(const QString &version) {
    present(localized_(QStringLiteral("UpdateUpToDateTitle")),
            localized_(QStringLiteral("UpdateUpToDateInfo")).arg(version), Buttons::Close);
}

void UpdateWindow::showUpdateFound(const AppcastItem &item, const QString &releaseNotes,
                                   bool /*readyToInstall*/) {
    releaseNotes_->setHtml(releaseNotes);
    present(localized_(QStringLiteral("UpdateFoundTitle")),
            localized_(QStringLiteral("UpdateFoundInfo"))
                .arg(item.versionForDisplay(), QString::fromLatin1(kMarketingVersion)),
            Buttons::Decide);
}

void UpdateWindow::notifyUpdateFound(const AppcastItem &item, bool readyToInstall) {
    const QString title = localized_(readyToInstall ? QStringLiteral("UpdateNotificationReady")
                                                    : QStringLiteral("UpdateNotificationAvailable"))
                              .arg(item.versionForDisplay());
    notify_(title, localized_(QStringLiteral("UpdateNotificationInfo")),
            localized_(QStringLiteral("UpdateNotificationShow")),
            [updater = &updater_] { updater->showFoundUpdate(); });
}

void UpdateWindow::showDownloadProgress(qint64 received, qint64 total) {
    // Percent, so packages past 2 GiB never overflow the bar's int range.
    progress_->setRange(0, total > 0 ? 100 : 0);
    progress_->setValue(total > 0 ? int(received * 100 / total) : 0);
    // Once: a user who closed the window lets the download go on unseen.
    if (page_ != Buttons::Cancel) {
        present(localized_(QStringLiteral("UpdateDownloading")), QString(), Buttons::Cancel);
    }
}

void UpdateWindow::showInstalling() {
    progress_->setRange(0, 0);
    present(localized_(QStringLiteral("UpdateInstalling")), QString(), Buttons::None);
}

void UpdateWindow::offerRestart(const AppcastItem &item) {
    present(localized_(QStringLiteral("UpdateInstalledTitle")).arg(item.versionForDisplay()),
            localized_(QStringLiteral("UpdateInstalledInfo")), Buttons::Restart);
}

void UpdateWindow::showFailure(UpdateFailure failure, const QString &detail) {
    static constexpr const char *kHeadlines[] = {"UpdateErrorFeed", "UpdateErrorDownload",
                                                 "UpdateErrorVerification", "UpdateErrorInstall"};
    present(localized_(QString::fromLatin1(kHeadlines[int(failure)])), detail, Buttons::Close);
}

}  // namespace tarnwell
