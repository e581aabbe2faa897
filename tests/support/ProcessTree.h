#pragma once

#include <sys/types.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>

namespace tarnwell::test {

// root and every process below it, from each process's parent in /proc.
inline QList<pid_t> processTree(pid_t root) {
    QList<pid_t> found{root};
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (qsizetype i = 0; i < found.size(); ++i) {
        for (const QString &entry : entries) {
            QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
            if (!stat.open(QIODevice::ReadOnly)) {
                continue;
            }
            // "pid (name) state ppid ...": the name may hold spaces and ")".
            const QByteArray line = stat.readAll();
            const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
            if (fields.size() > 1 && fields[1].toInt() == found[i]) {
                found.append(pid_t(entry.toInt()));
            }
        }
    }
    return found;
}

}  // namespace tarnwell::test
