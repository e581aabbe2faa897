#pragma once

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QStringList>
#include <QtGlobal>

#include "QtPrinters.h"
#include "analytics/EVTBackoffTimer.h"

namespace tarnwell::test {

// Reading back what the kit wrote or sent.
QByteArray readAll(const QString &path);  // empty when it cannot be read
QByteArray gunzip(const QByteArray &compressed);

struct UnpackedUpload {
    QByteArray partHeaders;
    QList<QByteArray> lines;  // the decompressed event file, one entry a line
};
// The boundary, or the content type that names it.
UnpackedUpload unpack(const QByteArray &body, QByteArray boundary);

// The lines of an event file, each with its newline.
QList<QByteArray> lines(const QByteArray &file);
QJsonObject linePayload(const QByteArray &line);
// Each line's name (second field), then its custom event's name if it has one.
QStringList lineNames(const QList<QByteArray> &lines);

// Records every backoff delay; runs each block at once, or only when told to (never,
// for a machine that stays offline).
class RecordingRunner : public EVTDelayedRunner {
public:
    explicit RecordingRunner(bool atOnce) : atOnce_(atOnce) {}
    void runAfter(std::chrono::nanoseconds delay, std::function<void()> block) override {
        delays.push_back(std::chrono::duration<double>(delay).count());
        atOnce_ ? block() : pending.push_back(std::move(block));
    }
    void runAll() {
        for (auto &block : std::exchange(pending, {})) {
            block();
        }
    }

    std::vector<double> delays;  // seconds
    std::vector<std::function<void()>> pending;

private:
    bool atOnce_;
};

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
