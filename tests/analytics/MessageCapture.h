#pragma once

#include <mutex>

#include <QStringList>
#include <QtGlobal>

namespace tarnwell::test {

// Collects the messages logged while it exists, from any thread.
class MessageCapture {
public:
    MessageCapture();
    ~MessageCapture();

    int count(const QString &message) const;
    int countStartingWith(const QString &prefix) const;

private:
    static void handler(QtMsgType, const QMessageLogContext &, const QString &message);

    static inline std::mutex mutex_;
    static inline QStringList messages_;
    QtMessageHandler previous_;
};

}  // namespace tarnwell::test
