#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <chrono>
#include <optional>

class QIODevice;
class QNetworkAccessManager;
class QNetworkReply;

namespace tarnwell {

// Whether the updater may fetch from url: https anywhere, plain http only
// from the loopback interface (local test servers), nothing else.
bool isAllowedUpdateURL(const QUrl &url);

// One GET of a feed, release notes or package, with the limits a hostile or
// broken server must not get past: an address rule on the request and on
// every redirect (which must stay on the same host), a cap on the bytes
// taken, an exact length where the feed promised one, and a stall timeout.
// Ends with exactly one finished(), queued, also when refused at once.
class UpdateDownload : public QObject {
    Q_OBJECT
public:
    struct Limits {
        qint64 maximumBytes = 0;
        // The length the feed announced; fewer or more bytes is a failure.
        std::optional<qint64> exactBytes;
        std::chrono::milliseconds stallTimeout{30'000};
    };

    // sink: where the body goes (kept open by the caller); nullptr keeps it
    // in memory for body().
    UpdateDownload(QNetworkAccessManager &network, const QUrl &url, Limits limits,
                   QIODevice *sink = nullptr, QObject *parent = nullptr);
    ~UpdateDownload() override;

    const QByteArray &body() const { return body_; }
    // Stops the transfer; finished() then reports the cancellation.
    void cancel();

signals:
    void progress(qint64 received, qint64 total);
    // failure: empty on success, else why, for the message a person reads.
    void finished(const QString &failure);

private:
    void onReadyRead();
    void onFinished();
    void onRedirected(const QUrl &target);
    // Ends the transfer once; an empty failure is success.
    void end(const QString &failure);

    QUrl url_;
    Limits limits_;
    QIODevice *sink_;
    QPointer<QNetworkReply> reply_;
    QByteArray body_;
    qint64 received_ = 0;
    bool done_ = false;
};

}  // namespace tarnwell
