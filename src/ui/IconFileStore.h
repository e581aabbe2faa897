#pragma once

#include <QImage>
#include <QString>
#include <QTemporaryDir>

namespace tarnwell {

// Icon files for hosts that only load icons by name. Each image gets a file
// with a new name, because hosts cache icons by name and would keep showing
// the first picture; the previous file is removed once a new one exists. The
// folder is private to this process and removed with it.
class IconFileStore {
public:
    // baseDirectory defaults to the user's runtime folder.
    explicit IconFileStore(const QString &baseDirectory = {});

    QString directory() const { return directory_.path(); }
    // Writes the image as PNG and answers its icon name (the file name without
    // ".png"), or an empty string when the file cannot be written.
    QString store(const QImage &image);

private:
    QTemporaryDir directory_;
    QString currentName_;
    int counter_ = 0;
};

}  // namespace tarnwell
