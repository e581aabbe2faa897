#include "platform/linux/DesktopEntryFolders.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>

namespace tarnwell {

namespace {

constexpr int kMaximumDepth = 4;

QStringList absoluteFolders(const QString &list, const QString &fallback) {
    QStringList folders;
    for (const QString &folder :
         (list.isEmpty() ? fallback : list).split(u':', Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(folder)) {
            folders.append(folder);
        }
    }
    return folders;
}

struct Walk {
    const DesktopEntryVisitor &visit;
    const std::atomic<bool> *stop;
    QSet<QString> seenIds;
    bool stopped = false;

    bool shouldStop() const { return stopped || (stop && stop->load(std::memory_order_relaxed)); }

    void folder(const QString &path, const QString &idPrefix, int depth) {
        // Sorted, so that which of two files wins never depends on the file system.
        const QFileInfoList children = QDir(path).entryInfoList(
            QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
        for (const QFileInfo &child : children) {
            if (shouldStop()) {
                return;
            }
            if (child.isDir()) {
                if (!child.isSymLink() && depth < kMaximumDepth) {
                    folder(child.filePath(), idPrefix + child.fileName() + u'-', depth + 1);
                }
                continue;
            }
            if (!child.fileName().endsWith(QLatin1String(".desktop"))) {
                continue;
            }
            const QString id = idPrefix + child.fileName();
            if (seenIds.contains(id)) {
                continue;
            }
            const std::optional<DesktopEntry> entry = DesktopEntry::readFile(child.filePath());
            if (!entry) {
                continue;
            }
            seenIds.insert(id);
            if (!visit(DesktopFile{id, child.filePath()}, *entry)) {
                stopped = true;
            }
        }
    }
};

}  // namespace

QStringList applicationFolders() {
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (!QDir::isAbsolutePath(dataHome)) {
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    }
    QStringList folders{dataHome};
    folders += absoluteFolders(qEnvironmentVariable("XDG_DATA_DIRS"),
                               QStringLiteral("/usr/local/share:/usr/share"));
    for (QString &folder : folders) {
        folder = QDir::cleanPath(folder + QStringLiteral("/applications"));
    }
    folders.removeDuplicates();
    return folders;
}

void forEachDesktopEntry(const QStringList &folders, const DesktopEntryVisitor &visit,
                         const std::atomic<bool> *stop) {
    Walk walk{visit, stop, {}};
    for (const QString &folder : folders) {
        walk.folder(folder, QString(), 0);
        if (walk.shouldStop()) {
            return;
        }
    }
}

bool isApplicationEntry(const DesktopEntry &entry) {
    return entry.string(QStringLiteral("Type")) == QStringLiteral("Application");
}

bool isVisibleApplicationEntry(const DesktopEntry &entry) {
    return isApplicationEntry(entry) && !entry.boolean(QStringLiteral("NoDisplay")) &&
           !entry.boolean(QStringLiteral("Hidden"));
}

}  // namespace tarnwell
