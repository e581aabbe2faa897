#pragma once

#include <optional>

#include <QByteArray>
#include <QString>

namespace tarnwell {

enum class FileLinks { Follow, Refuse };

// Reads a regular file of at most cap bytes. Never blocks on a FIFO or a
// device; with FileLinks::Refuse a link is not opened at all. Nothing when the
// file cannot be opened, is no regular file, or is (or grows) larger than cap.
std::optional<QByteArray> readCappedRegularFile(const QString &path, qsizetype cap,
                                                FileLinks links);

}  // namespace tarnwell
