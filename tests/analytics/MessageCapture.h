#pragma once

#include <algorithm>
#include <mutex>

#include <QStringList>
#include <QtGlobal>

namespace tarnwell::test {

// Collects the messages logged while it exists, from any thread.
class MessageCapture {
public:
    MessageCapture() : previous_(qInstallMessageHandler(&MessageCapture::handler)) {}
    ~MessageCapture() {
        qInstallMessageHandler(previous_);
        std::lock_guard lock(mutex_);
        messages_.clear();
    }

    // How many messages begin with the text.
    qsizetype count(const QString &prefix) const {
        std::lock_guard lock(mutex_);
        return std::ranges::count_if(messages_,
                                     [&](const QString &m) { return m.startsWith(prefix); });
    }

private:
    static void handler(QtMsgType, const QMessageLogContext &, const QString &message) {
        std::lock_guard lock(mutex_);
        messages_.append(message);
    }

    static inline std::mutex mutex_;
    static inline QStringList messages_;
    QtMessageHandler previous_;
};

}  // namespace tarnwell::test
