#include "EVTKitFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <mutex>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include "EVTFilePackager.h"
#include "EVTLog.h"
#include "crash/RegularFile.h"

namespace tarnwell {

namespace {

constexpr qint64 kLargestLog = EVTKitFiles::kLargestPayloadSize + EVTKitFiles::kLargestEventLine;
// deflate's worst case on incompressible input is a few bytes in a thousand more.
constexpr qint64 kLargestCompressed = kLargestLog + kLargestLog / 64;
constexpr qint64 kLargestPackaged = kLargestCompressed + 1024;

// What the kit writes of each kind, in the order of EVTKitFiles::Kind.
struct KindOfFile {
    const char *extension;
    QRegularExpression name;
    qint64 largest;
};

const KindOfFile &kindOf(EVTKitFiles::Kind kind) {
    static const QString uuid =
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.");
    static const KindOfFile kinds[] = {
        {EVTFilePackager::kLogExtension, QRegularExpression(uuid + "log$"), kLargestLog},
        {EVTFilePackager::kCompressedExtension, QRegularExpression(uuid + "gz$"),
         kLargestCompressed},
        {EVTFilePackager::kPackagedExtension,
         QRegularExpression(QStringLiteral("^Boundary-[0-9a-f]{32}\\.multipartmime$")),
         kLargestPackaged},
    };
    return kinds[static_cast<int>(kind)];
}

// A folder that is full of foreign files would otherwise fill the log at every
// rotation.
void leaveAlone(const QString &path, const QString &why) {
    static std::mutex mutex;
    static QSet<QString> reported;
    std::lock_guard lock(mutex);
    if (!reported.contains(path)) {
        reported.insert(path);
        qCWarning(lcEvents).noquote() << QStringLiteral("Leaving %1 alone: %2").arg(path, why);
    }
}

// Lines as EVTEvent::formatLine writes them: "<ms>\t<name>\t<payload bytes>\t<JSON>\n".
bool isEventFile(const QByteArray &data) {
    if (data.isEmpty() || !data.endsWith('\n')) {
        return false;
    }
    static const QRegularExpression line(
        QStringLiteral("^[0-9]{1,20}\\t[^\\t\\n]{1,200}\\t([0-9]{1,10})\\t(\\{[^\\n]*\\})$"));
    for (const QByteArray &text : data.chopped(1).split('\n')) {
        const QRegularExpressionMatch match = line.match(QString::fromUtf8(text));
        if (!match.hasMatch() ||
            match.captured(1).toLongLong() != match.captured(2).toUtf8().size()) {
            return false;
        }
    }
    return true;
}

bool isCompressedEventFile(const QByteArray &data) {
    const std::optional<QByteArray> log = EVTFilePackager::gunzip(data, kLargestLog);
    return log && isEventFile(*log);
}

// Exactly the layout EVTFilePackager::package writes around a compressed event
// file: the part's name and length are read from its headers, and the whole file
// must then be what the packager makes of them.
bool isPackagedEventFile(const QString &path, const QByteArray &data) {
    static const QRegularExpression name(QStringLiteral("filename=\"([0-9A-F-]{36}\\.gz)\""));
    static const QRegularExpression length(QStringLiteral("Content-Length: ([0-9]{1,10})\r\n$"));
    const qsizetype headerEnd = data.indexOf("\r\n\r\n");
    if (headerEnd < 0) {
        return false;
    }
    const QString headers = QString::fromLatin1(data.left(headerEnd + 2));
    const QRegularExpressionMatch nameMatch = name.match(headers);
    const QRegularExpressionMatch lengthMatch = length.match(headers);
    if (!nameMatch.hasMatch() || !lengthMatch.hasMatch()) {
        return false;
    }
    const QByteArray compressed = data.mid(headerEnd + 4, lengthMatch.captured(1).toLongLong());
    const QString boundary = QFileInfo(path).completeBaseName();
    return data == EVTFilePackager::multipartBody(boundary, nameMatch.captured(1), compressed) &&
           isCompressedEventFile(compressed);
}

bool hasKitContent(const QString &path, EVTKitFiles::Kind kind, const QByteArray &data) {
    switch (kind) {
        case EVTKitFiles::Kind::Log:
            return isEventFile(data);
        case EVTKitFiles::Kind::Compressed:
            return isCompressedEventFile(data);
        case EVTKitFiles::Kind::Packaged:
            break;
    }
    return isPackagedEventFile(path, data);
}

crash::BoundedRead readOwnFile(const QString &path, qint64 limit) {
    return crash::readRegularFile(AT_FDCWD, QFile::encodeName(path).constData(), size_t(limit));
}

QString describe(const crash::BoundedRead &read) {
    return QString::fromLatin1(crash::describeRefusal(read.refusal));
}

}  // namespace

QStringList EVTKitFiles::list(const QString &directory, Kind kind) {
    const QDir dir(directory);
    QStringList paths;
    // System: FIFOs, devices and sockets too, so they are logged like the rest.
    for (const QString &name : dir.entryList(QDir::Files | QDir::System, QDir::Name)) {
        const QString path = dir.filePath(name);
        if (QFileInfo(name).suffix() != QLatin1String(kindOf(kind).extension)) {
            continue;
        }
        struct stat status {};
        if (!kindOf(kind).name.match(name).hasMatch()) {
            leaveAlone(path, QStringLiteral("not a name the kit makes"));
        } else if (::lstat(QFile::encodeName(path).constData(), &status) != 0 ||
                   !S_ISREG(status.st_mode)) {
            leaveAlone(path, QStringLiteral("not a regular file"));
        } else {
            paths << path;
        }
    }
    return paths;
}

std::optional<QByteArray> EVTKitFiles::read(const QString &path, Kind kind) {
    if (!kindOf(kind).name.match(QFileInfo(path).fileName()).hasMatch()) {
        leaveAlone(path, QStringLiteral("not a name the kit makes"));
        return std::nullopt;
    }
    const crash::BoundedRead read = readOwnFile(path, kindOf(kind).largest);
    if (read.refusal == crash::FileRefusal::Missing) {
        return std::nullopt;
    }
    if (read.refusal != crash::FileRefusal::None) {
        leaveAlone(path, describe(read));
        return std::nullopt;
    }
    QByteArray data(read.bytes.data(), qsizetype(read.bytes.size()));
    if (!hasKitContent(path, kind, data)) {
        leaveAlone(path, QStringLiteral("not what the kit writes"));
        return std::nullopt;
    }
    return data;
}

bool EVTKitFiles::mayReplace(const QString &path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0 || S_ISREG(status.st_mode)) {
        return true;
    }
    leaveAlone(path, QStringLiteral("a link or special file where the kit writes"));
    return false;
}

}  // namespace tarnwell
