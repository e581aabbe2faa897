#include "app/WelcomeWindowProcess.h"

#include <cstdio>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace tarnwell {

namespace {

constexpr char kWelcomeExecutable[] = "tarnwell-welcome";
// The window shuts its web engine down on the end of its input; a child that
// ignores it is killed after this long, so quitting never hangs.
constexpr int kCloseTimeoutMs = 3000;

}  // namespace

WelcomeWindowProcess::WelcomeWindowProcess(QString program, QObject *parent)
    : QObject(parent), program_(std::move(program)) {}

WelcomeWindowProcess::~WelcomeWindowProcess() {
    if (!process_) {
        return;
    }
    // Ending it here is the tray quitting, not the user closing the window.
    process_->disconnect(this);
    process_->closeWriteChannel();
    if (!process_->waitForFinished(kCloseTimeoutMs)) {
        process_->kill();
        process_->waitForFinished();
    }
}

QString WelcomeWindowProcess::installedProgram() {
    const QString directory = QCoreApplication::applicationDirPath();
    const QString beside = directory + u'/' + QLatin1String(kWelcomeExecutable);
    if (QFileInfo(beside).isExecutable()) {
        return beside;
    }
    return directory + QStringLiteral("/../libexec/tarnwell/") + QLatin1String(kWelcomeExecutable);
}

qint64 WelcomeWindowProcess::processId() const {
    return process_ ? process_->processId() : 0;
}

void WelcomeWindowProcess::showWelcomePage() {
    if (process_) {
        send(welcome_messages::kRaise);
        return;
    }
    lines_ = MessageLines();
    process_ = std::make_unique<QProcess>();
    // The window's own complaints (a missing page) belong in the tray's log.
    process_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(process_.get(), &QProcess::readyReadStandardOutput, this,
            &WelcomeWindowProcess::readMessages);
    connect(process_.get(), &QProcess::finished, this, &WelcomeWindowProcess::processFinished);
    connect(process_.get(), &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            std::fprintf(stderr, "Tarnwell: cannot start the welcome window %s: %s\n",
                         qPrintable(program_), qPrintable(process_->errorString()));
            process_.release()->deleteLater();
        }
    });
    process_->start(program_, {});
}

void WelcomeWindowProcess::languageDidChanged() {
    if (process_) {
        send(welcome_messages::kLanguageDidChanged);
    }
}

void WelcomeWindowProcess::send(const char *message) {
    process_->write(QByteArray(message) + '\n');
}

void WelcomeWindowProcess::readMessages() {
    for (const QByteArray &line : lines_.append(process_->readAllStandardOutput())) {
        if (line == welcome_messages::kWindowDidLoad) {
            emit windowDidLoad();
        } else if (line == welcome_messages::kShowPreferencesWindow) {
            emit showPreferencesWindowRequested();
        }
    }
}

void WelcomeWindowProcess::processFinished(int exitCode, int exitStatus) {
    readMessages();
    // Deleted later: this runs inside the process object's own signal.
    process_.release()->deleteLater();
    if (exitStatus == QProcess::NormalExit && exitCode == 0) {
        emit windowWillClose();
    }
}

}  // namespace tarnwell
