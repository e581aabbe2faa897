#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace tarnwell {

class UrlOpener;

// Installs a downloaded, verified package. Tests put a fake here.
class PackageInstaller {
public:
    enum class Outcome {
        Installed,   // the new version is on disk; a restart runs it
        HandedOver,  // the desktop's package installer has it now
        Refused,     // the user declined to authorise
        Failed,      // the package tools failed
    };
    using Done = std::function<void(Outcome outcome, const QString &detail)>;

    virtual ~PackageInstaller() = default;
    // Calls done once, later, on the calling thread.
    virtual void install(const QString &packagePath, Done done) = 0;
};

// The system's package tools with the user's consent: apt through pkexec,
// which asks for authorisation; where pkexec is missing, the desktop's
// package installer opens the file instead.
class SystemPackageInstaller : public QObject, public PackageInstaller {
    Q_OBJECT
public:
    SystemPackageInstaller(UrlOpener &desktopOpener, QObject *parent = nullptr);

    // The command line run for packagePath: program first.
    static QStringList installCommand(const QString &packagePath);

    void install(const QString &packagePath, Done done) override;

private:
    UrlOpener &desktopOpener_;
};

}  // namespace tarnwell
