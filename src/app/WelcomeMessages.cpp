#include "app/WelcomeMessages.h"

namespace tarnwell {

QList<QByteArray> MessageLines::append(const QByteArray &data) {
    QList<QByteArray> lines;
    qsizetype start = 0;
    while (start < data.size()) {
        const qsizetype newline = data.indexOf('\n', start);
        const qsizetype end = newline < 0 ? data.size() : newline;
        if (!discarding_) {
            partial_ += data.mid(start, end - start);
            if (partial_.size() > kMaxLineLength) {
                partial_.clear();
                discarding_ = true;
            }
        }
        if (newline < 0) {
            break;
        }
        if (!discarding_) {
            lines.append(partial_);
        }
        partial_.clear();
        discarding_ = false;
        start = newline + 1;
    }
    return lines;
}

}  // namespace tarnwell
