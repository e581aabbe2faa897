#include "platform/linux/DesktopApplicationIndex.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace tarnwell {

namespace {

// Launchers that start many different programs: their path says nothing
// about which application a window belongs to.
bool isLauncher(const QString &program) {
    static const QStringList launchers{QStringLiteral("env"),       QStringLiteral("sh"),
                                       QStringLiteral("bash"),      QStringLiteral("flatpak"),
                                       QStringLiteral("snap"),      QStringLiteral("python3"),
                                       QStringLiteral("gtk-launch")};
    return launchers.contains(QFileInfo(program).fileName());
}

QString resolvedExecutable(const QString &program) {
    if (program.isEmpty() || isLauncher(program)) {
        return {};
    }
    const QString path =
        QDir::isAbsolutePath(program) ? program : QStandardPaths::findExecutable(program);
    return path.isEmpty() ? QString() : QFileInfo(path).canonicalFilePath();
}

QString stem(const QString &id) {
    return id.chopped(int(qstrlen(".desktop")));
}

}  // namespace

DesktopApplicationIndex::DesktopApplicationIndex(const QStringList &folders) {
    forEachDesktopEntry(folders, [this](const DesktopFile &file, const DesktopEntry &entry) {
        if (isApplicationEntry(entry) && !entry.boolean(QStringLiteral("Hidden"))) {
            add(file, entry);
        }
        return true;
    });
}

void DesktopApplicationIndex::add(const DesktopFile &file, const DesktopEntry &entry) {
    entries_.insert(file.id, entry);
    idByLowerCaseStem_.insert(stem(file.id).toLower(), file.id);
    if (const auto wmClass = entry.string(QStringLiteral("StartupWMClass"))) {
        idByStartupWMClass_.insert(*wmClass, file.id);
    }
    for (const char *key : {"TryExec", "Exec"}) {
        const QString executable = resolvedExecutable(
            DesktopEntry::execProgram(entry.string(QString::fromLatin1(key)).value_or(QString())));
        if (!executable.isEmpty() && !idByExecutable_.contains(executable)) {
            idByExecutable_.insert(executable, file.id);
        }
    }
}

QString DesktopApplicationIndex::applicationId(const WindowIdentity &window) const {
    if (!window.gtkApplicationId.isEmpty()) {
        if (const auto found = idByLowerCaseStem_.constFind(window.gtkApplicationId.toLower());
            found != idByLowerCaseStem_.cend()) {
            return *found;
        }
    }
    for (const QString &name : {window.wmClass, window.wmInstance}) {
        if (const auto found = idByStartupWMClass_.constFind(name);
            !name.isEmpty() && found != idByStartupWMClass_.cend()) {
            return *found;
        }
    }
    for (const QString &name : {window.wmClass, window.wmInstance}) {
        if (const auto found = idByLowerCaseStem_.constFind(name.toLower());
            !name.isEmpty() && found != idByLowerCaseStem_.cend()) {
            return *found;
        }
    }
    if (const auto found = idByExecutable_.constFind(window.executable);
        !window.executable.isEmpty() && found != idByExecutable_.cend()) {
        return *found;
    }
    return window.wmClass.isEmpty() ? window.wmInstance : window.wmClass;
}

ApplicationCandidate DesktopApplicationIndex::candidate(const QString &id,
                                                        const QString &locale) const {
    const auto found = entries_.constFind(id);
    if (found == entries_.cend()) {
        return {id, id, QString()};
    }
    return {found->localeString(QStringLiteral("Name"), locale).value_or(stem(id)), id,
            found->string(QStringLiteral("Icon")).value_or(QString())};
}

std::optional<ApplicationCandidate> applicationCandidate(const DesktopFile &file,
                                                         const QString &locale) {
    const std::optional<DesktopEntry> entry = DesktopEntry::readFile(file.path);
    if (!entry) {
        return std::nullopt;
    }
    QString name = entry->localeString(QStringLiteral("Name"), locale).value_or(QString());
    if (name.isEmpty()) {
        name = QFileInfo(file.path).completeBaseName();
    }
    return ApplicationCandidate{name, file.id,
                                entry->string(QStringLiteral("Icon")).value_or(QString())};
}

}  // namespace tarnwell
