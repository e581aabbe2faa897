#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QVariantMap>

namespace tarnwell {

// An error value as the kit reports it: a domain, a negative code and the
// fields that explain it. Transport failures use the URL domain with the
// codes the analytics service's other clients also use, so one retry table
// serves every platform.
struct TLMError {
    QString domain;
    int code = 0;
    QVariantMap userInfo;

    bool operator==(const TLMError &) const = default;

    // "<domain> <code> <fields as JSON>", for the log.
    QString describe() const {
        return QStringLiteral("%1 %2 %3")
            .arg(domain)
            .arg(code)
            .arg(QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(userInfo))
                                       .toJson(QJsonDocument::Compact)));
    }
};

inline constexpr char kTLMNetworkErrorDomain[] = "TLMNetworkError";
inline constexpr char kURLErrorDomain[] = "NSURLErrorDomain";
inline constexpr char kURLErrorFailingURLKey[] = "NSErrorFailingURLKey";

// Codes of the "TLMNetworkError" domain.
enum TLMNetworkErrorCode {
    kTLMRetryableResponse = -1,
    kTLMUnexpectedResponse = -4,
    kTLMClientError = -5,
    kTLMRetriesExhausted = -6,
    kTLMNoRetryTimer = -7,
};

// Codes of the URL domain that this kit produces or tests against.
enum TLMURLErrorCode {
    kURLErrorUnknown = -1,
    kURLErrorCancelled = -999,
    kURLErrorBadURL = -1000,
    kURLErrorTimedOut = -1001,
    kURLErrorUnsupportedURL = -1002,
    kURLErrorCannotFindHost = -1003,
    kURLErrorCannotConnectToHost = -1004,
    kURLErrorNetworkConnectionLost = -1005,
    kURLErrorHTTPTooManyRedirects = -1007,
    kURLErrorNotConnectedToInternet = -1009,
    kURLErrorRedirectToNonExistentLocation = -1010,
    kURLErrorBadServerResponse = -1011,
    kURLErrorUserCancelledAuthentication = -1012,
    kURLErrorUserAuthenticationRequired = -1013,
    kURLErrorAppTransportSecurityRequiresSecureConnection = -1022,
    kURLErrorFileDoesNotExist = -1100,
    kURLErrorNoPermissionsToReadFile = -1102,
    kURLErrorSecureConnectionFailed = -1200,
    kURLErrorServerCertificateUntrusted = -1202,
};

}  // namespace tarnwell
