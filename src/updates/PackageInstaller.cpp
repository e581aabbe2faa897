#include "updates/PackageInstaller.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>

#include "app/UrlOpener.h"

namespace tarnwell {

namespace {

// pkexec's own exit statuses: the authorisation dialog was dismissed (126)
// or the user could not be authorised (127).
constexpr int kPkexecDismissed = 126;
constexpr int kPkexecNotAuthorized = 127;

}  // namespace

SystemPackageInstaller::SystemPackageInstaller(UrlOpener &desktopOpener, QObject *parent)
    : QObject(parent), desktopOpener_(desktopOpener) {}

QStringList SystemPackageInstaller::installCommand(const QString &packagePath) {
    // apt rather than dpkg, so new dependencies come along; the full path,
    // because polkit matches the program as given, and apt reads an argument
    // as a file only when it contains a slash.
    return {QStringLiteral("pkexec"), QStringLiteral("/usr/bin/apt-get"), QStringLiteral("install"),
            QStringLiteral("--yes"), packagePath};
}

void SystemPackageInstaller::install(const QString &packagePath, Done done) {
    if (QStandardPaths::findExecutable(QStringLiteral("pkexec")).isEmpty()) {
        desktopOpener_.openURL(QUrl::fromLocalFile(packagePath));
        QTimer::singleShot(0, this, [done] { done(Outcome::HandedOver, QString()); });
        return;
    }
    const QStringList command = installCommand(packagePath);
    auto *process = new QProcess(this);
    process->setProgram(command.first());
    process->setArguments(command.mid(1));
    process->setProcessChannelMode(QProcess::MergedChannels);
    connect(process, &QProcess::finished, this,
            [process, done](int status, QProcess::ExitStatus exitStatus) {
                // apt's last lines say what went wrong; the rest is progress.
                const QString output =
                    QString::fromLocal8Bit(process->readAll().right(2000)).trimmed();
                process->deleteLater();
                if (exitStatus == QProcess::NormalExit && status == 0) {
                    done(Outcome::Installed, QString());
                } else if (exitStatus == QProcess::NormalExit &&
                           (status == kPkexecDismissed || status == kPkexecNotAuthorized)) {
                    done(Outcome::Refused, QString());
                } else {
                    done(Outcome::Failed, output);
                }
            });
    connect(process, &QProcess::errorOccurred, this, [process, done](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            process->deleteLater();
            done(Outcome::Failed, process->errorString());
        }
    });
    process->start();
}

}  // namespace tarnwell
