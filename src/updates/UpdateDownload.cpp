#include "updates/UpdateDownload.h"

#include <QHostAddress>
#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

namespace tarnwell {

namespace {

// A feed that chains more redirects than this is not one we follow.
constexpr int kMaximumRedirects = 5;

bool sameOrigin(const QUrl &a, const QUrl &b) {
    return a.host().compare(b.host(), Qt::CaseInsensitive) == 0 &&
           a.port(a.scheme() == u"http" ? 80 : 443) == b.port(b.scheme() == u"http" ? 80 : 443);
}

}  // namespace

bool isAllowedUpdateURL(const QUrl &url) {
    if (!url.isValid() || url.host().isEmpty()) {
        return false;
    }
    if (url.scheme() == u"https") {
        return true;
    }
    if (url.scheme() != u"http") {
        return false;
    }
    // Only the literal loopback addresses: a name could resolve anywhere.
    const QHostAddress address(url.host());
    return !address.isNull() && address.isLoopback();
}

UpdateDownload::UpdateDownload(QNetworkAccessManager &network, const QUrl &url, Limits limits,
                               QIODevice *sink, QObject *parent)
    : QObject(parent), url_(url), limits_(limits), sink_(sink) {
    if (!isAllowedUpdateURL(url)) {
        end(QStringLiteral("the address %1 is not a secure (https) address")
                .arg(url.toDisplayString()));
        return;
    }
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setMaximumRedirectsAllowed(kMaximumRedirects);
    request.setTransferTimeout(int(limits.stallTimeout.count()));
    reply_ = network.get(request);
    connect(reply_, &QNetworkReply::readyRead, this, &UpdateDownload::onReadyRead);
    connect(reply_, &QNetworkReply::finished, this, &UpdateDownload::onFinished);
    connect(reply_, &QNetworkReply::redirected, this, &UpdateDownload::onRedirected);
    connect(reply_, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
        emit progress(received, limits_.exactBytes.value_or(-1));
    });
}

UpdateDownload::~UpdateDownload() {
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
        reply_->deleteLater();
    }
}

void UpdateDownload::cancel() {
    end(QStringLiteral("cancelled"));
}

void UpdateDownload::onRedirected(const QUrl &target) {
    if (!sameOrigin(url_, target) || !isAllowedUpdateURL(target)) {
        end(QStringLiteral("the server sent the request on to another host (%1)")
                .arg(target.host()));
        return;
    }
    emit reply_->redirectAllowed();
}

void UpdateDownload::onReadyRead() {
    if (done_) {
        return;
    }
    const QByteArray chunk = reply_->readAll();
    received_ += chunk.size();
    const qint64 cap = limits_.exactBytes.value_or(limits_.maximumBytes);
    if (received_ > cap) {
        end(QStringLiteral("the server sent more than the %1 bytes expected").arg(cap));
        return;
    }
    if (!sink_) {
        body_.append(chunk);
    } else if (sink_->write(chunk) != chunk.size()) {
        end(QStringLiteral("the file could not be written: %1").arg(sink_->errorString()));
    }
}

void UpdateDownload::onFinished() {
    if (done_) {
        return;
    }
    if (reply_->isReadable()) {
        onReadyRead();
        if (done_) {
            return;
        }
    }
    const int status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply_->error() == QNetworkReply::OperationCanceledError ||
        reply_->error() == QNetworkReply::TimeoutError) {
        // Nobody here aborted it, so the transfer timeout did.
        end(QStringLiteral("the server did not answer within %1 s")
                .arg(double(limits_.stallTimeout.count()) / 1000.0));
    } else if (status != 0 && (status < 200 || status > 299)) {
        end(QStringLiteral("the server answered with status %1").arg(status));
    } else if (reply_->error() != QNetworkReply::NoError) {
        end(reply_->errorString());
    } else if (limits_.exactBytes && received_ != *limits_.exactBytes) {
        end(QStringLiteral("the transfer ended after %1 of %2 bytes")
                .arg(received_)
                .arg(*limits_.exactBytes));
    } else {
        end(QString());
    }
}

void UpdateDownload::end(const QString &failure) {
    if (done_) {
        return;
    }
    done_ = true;
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
        reply_->deleteLater();
        reply_ = nullptr;
    }
    // Queued, so a caller that deletes this object in its slot is safe, and a
    // refusal in the constructor still reaches a connection made after it.
    QTimer::singleShot(0, this, [this, failure] { emit finished(failure); });
}

}  // namespace tarnwell
