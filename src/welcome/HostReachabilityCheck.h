#pragma once

#include <chrono>

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

namespace tarnwell {

// Asks the product site whether it is really there: the body at its
// reachability address must be exactly the site's token. A captive portal,
// an error page, a redirect to another site, a trailing newline, a stall or
// a body longer than the token all mean no, and the check always ends
// within its timeout.
class HostReachabilityCheck : public QObject {
    Q_OBJECT
public:
    HostReachabilityCheck(QNetworkAccessManager &network, QUrl address, QByteArray token,
                          std::chrono::milliseconds timeout, QObject *parent = nullptr);
    ~HostReachabilityCheck() override;

    void start();

signals:
    // Emitted once.
    void finished(bool reachable);

private:
    void readBody();
    void finish(bool reachable);

    QNetworkAccessManager &network_;
    QUrl address_;
    QByteArray token_;
    QByteArray body_;
    // Guarded: the network access manager may go first and take it along.
    QPointer<QNetworkReply> reply_;
    QTimer deadline_;
};

}  // namespace tarnwell
