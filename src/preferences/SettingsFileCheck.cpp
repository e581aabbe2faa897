#include "preferences/SettingsFileCheck.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace tarnwell {

namespace {

// The settings take a few kilobytes; QSettings reads the whole file into memory.
constexpr off_t kLargestFile = 1 << 20;

QString realPath(const QByteArray &path) {
    char resolved[PATH_MAX];
    return ::realpath(path.constData(), resolved) != nullptr ? QFile::decodeName(resolved)
                                                             : QString();
}

bool insideOwnFolders(const QString &real) {
    const QString roots[] = {
        QDir::homePath(), QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)};
    for (const QString &root : roots) {
        const QString realRoot = realPath(QFile::encodeName(root));
        if (!realRoot.isEmpty() && realRoot != QLatin1String("/") &&
            (real == realRoot || real.startsWith(realRoot + u'/'))) {
            return true;
        }
    }
    return false;
}

QString describeType(mode_t mode) {
    if (S_ISFIFO(mode)) {
        return QStringLiteral("a FIFO");
    }
    if (S_ISCHR(mode) || S_ISBLK(mode)) {
        return QStringLiteral("a device");
    }
    if (S_ISSOCK(mode)) {
        return QStringLiteral("a socket");
    }
    return QStringLiteral("a folder");
}

std::optional<QString> linkRefusal(const QByteArray &file) {
    struct stat target {};
    if (::stat(file.constData(), &target) != 0) {
        return QStringLiteral("it is a link that leads nowhere");
    }
    const QString real = realPath(file);
    if (!S_ISREG(target.st_mode)) {
        return QStringLiteral("it is a link to %1, %2").arg(real, describeType(target.st_mode));
    }
    if (target.st_uid != ::geteuid() || !insideOwnFolders(real)) {
        return QStringLiteral("it is a link to %1, outside your own files").arg(real);
    }
    if (target.st_size > kLargestFile) {
        return QStringLiteral("it is a link to a file larger than 1 MiB");
    }
    return std::nullopt;
}

}  // namespace

SettingsFileCheck::SettingsFileCheck(const QString &path)
    : file_(QFile::encodeName(QDir::cleanPath(QFileInfo(path).absoluteFilePath()))),
      folder_(QFileInfo(QFile::decodeName(file_)).path()) {}

std::optional<QString> SettingsFileCheck::refusal() {
    struct stat status {};
    if (::lstat(file_.constData(), &status) == 0) {
        if (S_ISLNK(status.st_mode)) {
            if (auto refusal = linkRefusal(file_)) {
                return refusal;
            }
        } else if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
            return QStringLiteral("it is %1").arg(describeType(status.st_mode));
        } else if (S_ISREG(status.st_mode) && status.st_size > kLargestFile) {
            return QStringLiteral("it is larger than 1 MiB");
        }
    }
    // QSettings makes the folders that are missing, so the nearest one that exists
    // is where the file would go.
    QString folder = folder_;
    struct stat folderStatus {};
    while (::stat(QFile::encodeName(folder).constData(), &folderStatus) != 0 &&
           folder != QLatin1String("/")) {
        folder = QFileInfo(folder).path();
    }
    // The store checks before every read: the folder it found fine last time needs no
    // second look (realpath() costs a system call for every component).
    if (folder == folder_ && folderStatus.st_dev == checkedFolder_.st_dev &&
        folderStatus.st_ino == checkedFolder_.st_ino) {
        return std::nullopt;
    }
    const QString realFolder = realPath(QFile::encodeName(folder));
    if (!realFolder.isEmpty() && realFolder != folder && !insideOwnFolders(realFolder)) {
        return QStringLiteral("its folder leads to %1, outside your own folders").arg(realFolder);
    }
    if (folder == folder_) {
        checkedFolder_ = folderStatus;
    }
    return std::nullopt;
}

}  // namespace tarnwell
