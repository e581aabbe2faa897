#include "updates/ApplicationUpdater.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QSysInfo>

#include "BuildInfo.h"
#include "localization/QRMLocalization.h"
#include "platform/linux/QRMUserNotificationsManager.h"
#include "preferences/QRMPreferencesManager.h"
#include "updates/UpdateSignature.h"

namespace tarnwell {

namespace {

QRMUpdater::Environment productionEnvironment() {
    return {QString::fromLatin1(kBuildNumber),
            QString::fromLatin1(kMarketingVersion),
            QSysInfo::productVersion(),
            QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                QStringLiteral("/Tarnwell/updates"),
            builtInUpdatePublicKey(),
            {},
            std::chrono::seconds(30)};
}

// The installed program replaces this one: start it, then leave.
void restartApplication() {
    QProcess::startDetached(QCoreApplication::applicationFilePath(),
                            QCoreApplication::arguments().mid(1));
    QCoreApplication::quit();
}

}  // namespace

ApplicationUpdater::ApplicationUpdater(QRMPreferencesManager &preferences,
                                       QRMUserNotificationsManager &notifier)
    : preferences_(preferences),
      installer_(desktopOpener_),
      updater_(preferences, installer_, productionEnvironment()),
      window_(
          updater_, [](const QString &key) { return localized(key); },
          [&notifier](const QString &title, const QString &text, const QString &action,
                      std::function<void()> onActivated) {
              notifier.showNotificationWithAction(title, text, action, std::move(onActivated));
          },
          restartApplication) {
    updater_.setUserInterface(&window_);
    updater_.setFeedURL(preferences_.updatesFeedURL());
    preferences_.setUpdater(&updater_);
}

ApplicationUpdater::~ApplicationUpdater() {
    preferences_.setUpdater(nullptr);
    updater_.setUserInterface(nullptr);
}

}  // namespace tarnwell
