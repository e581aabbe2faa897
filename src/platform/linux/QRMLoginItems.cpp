#include "platform/linux/QRMLoginItems.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include "platform/linux/CappedFileRead.h"
#include "platform/linux/DesktopEntry.h"

namespace tarnwell {

namespace {

// A desktop entry is a few hundred bytes; anything larger is not ours to parse.
constexpr qsizetype kMaxEntrySize = 64 * 1024;
// Names tried before giving up: tarnwell.desktop, tarnwell-2.desktop, ...
constexpr int kMaxEntryNames = 1000;

// A regular file of the folder, read without following a link out of it and
// without blocking on a FIFO planted there.
std::optional<DesktopEntry> readEntry(const QString &fileName) {
    const std::optional<QByteArray> bytes =
        readCappedRegularFile(fileName, kMaxEntrySize, FileLinks::Refuse);
    return bytes ? DesktopEntry::parse(*bytes) : std::nullopt;
}

// The file an entry starts; empty for none, or when a desktop's own tool has
// switched the entry off (Hidden).
QString programOf(const std::optional<DesktopEntry> &entry) {
    if (!entry || entry->boolean(QStringLiteral("Hidden"))) {
        return {};
    }
    return DesktopEntry::execProgram(entry->string(QStringLiteral("Exec")).value_or(QString()));
}

bool isReservedInExec(QChar c) {
    return QStringView(u" \t\n\"'\\><~|&;$*?#()`").contains(c);
}

QString canonicalProgram(const QString &program) {
    if (program.isEmpty()) {
        return {};
    }
    const QString found =
        QDir::isAbsolutePath(program) ? program : QStandardPaths::findExecutable(program);
    return found.isEmpty() ? QString() : QFileInfo(found).canonicalFilePath();
}

}  // namespace

QRMLoginItems &QRMLoginItems::sharedLoginItems() {
    static QRMLoginItems items(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
        QStringLiteral("/autostart"));
    return items;
}

QString QRMLoginItems::applicationPath() {
    return programFor(QCoreApplication::applicationFilePath());
}

QString QRMLoginItems::programFor(const QString &executable) {
    const QFileInfo file(executable);
    const QString entry =
        file.dir().filePath(QStringLiteral("../share/applications/app.tarnwell.Tarnwell.desktop"));
    const QString program = programOf(readEntry(entry));
    // Only an entry that starts this very file: another Tarnwell earlier in
    // PATH must not take over the login item.
    if (!program.isEmpty() && canonicalProgram(program) == file.canonicalFilePath()) {
        return program;
    }
    return executable;
}

QRMLoginItems::QRMLoginItems(QString autostartFolder) : folder_(std::move(autostartFolder)) {}

QString QRMLoginItems::execValue(const QString &path) {
    QString argument = path;
    argument.replace(u'%', QStringLiteral("%%"));
    if (std::any_of(argument.begin(), argument.end(), isReservedInExec)) {
        QString quoted;
        for (const QChar c : argument) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') {
                quoted += u'\\';
            }
            quoted += c;
        }
        argument = u'"' + quoted + u'"';
    }
    // The string escapes apply on top of the quoting: one backslash is written
    // as two, and control characters as their escapes.
    argument.replace(u'\\', QStringLiteral("\\\\"));
    argument.replace(u'\n', QStringLiteral("\\n"));
    argument.replace(u'\t', QStringLiteral("\\t"));
    argument.replace(u'\r', QStringLiteral("\\r"));
    return argument;
}

QStringList QRMLoginItems::entriesStarting(const QString &path) const {
    const QString target = canonicalProgram(path);
    QStringList entries;
    if (target.isEmpty()) {
        return entries;
    }
    const QFileInfoList files = QDir(folder_).entryInfoList(
        {QStringLiteral("*.desktop")}, QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo &file : files) {
        if (file.isSymLink()) {
            continue;
        }
        if (canonicalProgram(programOf(readEntry(file.filePath()))) == target) {
            entries.append(file.filePath());
        }
    }
    return entries;
}

bool QRMLoginItems::addApplicationToLoginItems(const QString &path) {
    const QByteArray contents = QStringLiteral(
                                    "[Desktop Entry]\n"
                                    "Type=Application\n"
                                    "Name=Tarnwell\n"
                                    "Exec=%1\n"
                                    "Terminal=false\n"
                                    "X-GNOME-Autostart-enabled=true\n")
                                    .arg(execValue(path))
                                    .toUtf8();
    int error = 0;
    if (!QDir().mkpath(folder_)) {
        error = EACCES;
    }
    for (int n = 1; error == 0 && n <= kMaxEntryNames; ++n) {
        const QString name = n == 1 ? QStringLiteral("tarnwell.desktop")
                                    : QStringLiteral("tarnwell-%1.desktop").arg(n);
        // O_EXCL: never write through whatever already sits under the name.
        const int fd = ::open(QFile::encodeName(folder_ + u'/' + name).constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd < 0) {
            error = errno == EEXIST ? 0 : errno;
            continue;
        }
        const bool written =
            ::write(fd, contents.constData(), size_t(contents.size())) == ssize_t(contents.size());
        error = written ? 0 : errno;
        ::close(fd);
        if (written) {
            return true;
        }
        ::unlink(QFile::encodeName(folder_ + u'/' + name).constData());
    }
    if (!writeFailureReported_) {
        writeFailureReported_ = true;
        std::fprintf(stderr, "Tarnwell: cannot add a login item in %s: %s\n", qPrintable(folder_),
                     std::strerror(error != 0 ? error : EEXIST));
    }
    return false;
}

void QRMLoginItems::removeApplicationFromLoginItems(const QString &path) {
    for (const QString &entry : entriesStarting(path)) {
        QFile::remove(entry);
    }
}

bool QRMLoginItems::findApplicationAtLoginItems(const QString &path) {
    return !entriesStarting(path).isEmpty();
}

}  // namespace tarnwell
