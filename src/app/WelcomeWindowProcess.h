#pragma once

#include <memory>

#include <QObject>
#include <QString>

#include "app/WelcomeMessages.h"

class QProcess;

namespace tarnwell {

// The welcome window, which lives in a process of its own: its web engine
// would keep about 200 MB in whichever process loaded a page, until that
// process exits. At most one runs; a second request raises it. Quitting the
// tray closes it (the child reads the end of its input and quits).
class WelcomeWindowProcess : public QObject {
    Q_OBJECT
public:
    // program: the welcome executable.
    explicit WelcomeWindowProcess(QString program, QObject *parent = nullptr);
    ~WelcomeWindowProcess() override;

    // tarnwell-welcome beside this executable (the build tree), else in
    // ../libexec/tarnwell (an installation).
    static QString installedProgram();

    bool isRunning() const { return process_ != nullptr; }
    // The running window's process id, 0 when none runs.
    qint64 processId() const;

public slots:
    void showWelcomePage();
    void languageDidChanged();

signals:
    void windowDidLoad();
    void showPreferencesWindowRequested();
    // The user closed the window; a crash or a failed start is no close.
    void windowWillClose();

private:
    void send(const char *message);
    void readMessages();
    void processFinished(int exitCode, int exitStatus);

    QString program_;
    std::unique_ptr<QProcess> process_;
    MessageLines lines_;
};

}  // namespace tarnwell
