#include "ui/IconFileStore.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QStandardPaths>

Q_LOGGING_CATEGORY(lcIconFiles, "tarnwell.ui.iconfiles")

namespace tarnwell {

namespace {

QString defaultBaseDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
}

}  // namespace

IconFileStore::IconFileStore(const QString &baseDirectory)
    : directory_((baseDirectory.isEmpty() ? defaultBaseDirectory() : baseDirectory) +
                 QStringLiteral("/tarnwell-icons-XXXXXX")) {
    if (!directory_.isValid()) {
        qCWarning(lcIconFiles) << "no folder for icon files:" << directory_.errorString();
    }
}

QString IconFileStore::store(const QImage &image) {
    if (!directory_.isValid()) {
        return {};
    }
    // Hosts add every item's folder to one search path: the process id keeps
    // the names of two running instances apart.
    const QString name =
        QStringLiteral("tarnwell-%1-%2").arg(QCoreApplication::applicationPid()).arg(++counter_);
    if (!image.save(directory_.filePath(name + QStringLiteral(".png")), "PNG")) {
        qCWarning(lcIconFiles) << "cannot write icon" << name << "in" << directory_.path();
        return {};
    }
    if (!currentName_.isEmpty()) {
        QFile::remove(directory_.filePath(currentName_ + QStringLiteral(".png")));
    }
    currentName_ = name;
    return name;
}

}  // namespace tarnwell
