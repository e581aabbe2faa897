#pragma once

#include <QByteArray>
#include <QString>

namespace tarnwell {

class EVTEvent;
class EVTMetadata;

// Appends one event to an event file, opening a new file with its metadata
// line. Plain POSIX writes: the file must hold whole lines even when the
// process is killed between two events.
class EVTWriteEventOperation {
public:
    // Both lines are formatted here, so the metadata carries this event's
    // time as the file's start.
    EVTWriteEventOperation(QString path, const EVTEvent &event, const EVTMetadata &metadata);

    bool run() const;

private:
    static bool writeLine(int fd, const QByteArray &line);

    QString path_;
    QByteArray eventLine_;
    QByteArray metadataLine_;
};

}  // namespace tarnwell
