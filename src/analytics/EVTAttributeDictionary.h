#pragma once

#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QVariant>

namespace tarnwell {

// Attributes as callers hand them over, in the order they are to be taken:
// when more are given than the service accepts, the first ones are kept.
using EVTAttributes = QList<QPair<QString, QVariant>>;

// The attributes of one event, normalised the way the analytics service
// accepts them: strings or numbers only, at most 21 entries, keys and string
// values cut to 100 characters. Rejected entries are logged and dropped.
//
// Entries are only collected when added and normalised by toJson(), which
// the kit calls on its worker thread: the caller that logs an event pays
// for a list append, not for building JSON.
class EVTAttributeDictionary {
public:
    // One more than a round 20; the service has always accepted 21.
    static constexpr int kMaximumEntries = 21;
    static constexpr int kMaximumLength = 100;

    EVTAttributeDictionary() = default;
    explicit EVTAttributeDictionary(const EVTAttributes &attributes);

    // A string, a number, or a boolean (stored as "true"/"false").
    void add(const QString &key, const QVariant &value);
    // A decimal price, stored in micros.
    void addPrice(const QString &key, double price);

    QJsonObject toJson() const;

private:
    struct Entry {
        QString key;
        QVariant value;
        bool isPrice;
    };

    QList<Entry> entries_;
};

}  // namespace tarnwell
