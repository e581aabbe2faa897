#include "MessageCapture.h"

namespace tarnwell::test {

MessageCapture::MessageCapture() {
    std::lock_guard lock(mutex_);
    messages_.clear();
    previous_ = qInstallMessageHandler(&MessageCapture::handler);
}

MessageCapture::~MessageCapture() {
    qInstallMessageHandler(previous_);
}

void MessageCapture::handler(QtMsgType, const QMessageLogContext &, const QString &message) {
    std::lock_guard lock(mutex_);
    messages_.append(message);
}

int MessageCapture::count(const QString &message) const {
    std::lock_guard lock(mutex_);
    return static_cast<int>(messages_.count(message));
}

int MessageCapture::countStartingWith(const QString &prefix) const {
    std::lock_guard lock(mutex_);
    int n = 0;
    for (const QString &message : messages_) {
        n += message.startsWith(prefix) ? 1 : 0;
    }
    return n;
}

}  // namespace tarnwell::test
