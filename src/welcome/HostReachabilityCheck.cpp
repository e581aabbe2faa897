#include "welcome/HostReachabilityCheck.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace tarnwell {

HostReachabilityCheck::HostReachabilityCheck(QNetworkAccessManager &network, QUrl address,
                                             QByteArray token, std::chrono::milliseconds timeout,
                                             QObject *parent)
    : QObject(parent), network_(network), address_(std::move(address)), token_(std::move(token)) {
    deadline_.setSingleShot(true);
    deadline_.setInterval(timeout);
    connect(&deadline_, &QTimer::timeout, this, [this] { finish(false); });
}

HostReachabilityCheck::~HostReachabilityCheck() {
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
        reply_->deleteLater();
    }
}

void HostReachabilityCheck::start() {
    QNetworkRequest request(address_);
    // A portal that sends every address to its login page is another origin;
    // the site moving the check within itself is followed.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::SameOriginRedirectPolicy);
    reply_ = network_.get(request);
    connect(reply_, &QNetworkReply::readyRead, this, &HostReachabilityCheck::readBody);
    connect(reply_, &QNetworkReply::finished, this, [this] {
        readBody();
        if (reply_) {
            finish(reply_->error() == QNetworkReply::NoError && body_ == token_);
        }
    });
    deadline_.start();
}

void HostReachabilityCheck::readBody() {
    if (!reply_) {
        return;
    }
    // Only as much as could still match: a huge answer is refused at once
    // instead of being read to its end.
    body_ += reply_->read(token_.size() + 1 - body_.size());
    if (body_.size() > token_.size()) {
        finish(false);
    }
}

void HostReachabilityCheck::finish(bool reachable) {
    if (!reply_) {
        return;
    }
    deadline_.stop();
    QNetworkReply *reply = reply_;
    reply_ = nullptr;
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
    emit finished(reachable);
}

}  // namespace tarnwell
