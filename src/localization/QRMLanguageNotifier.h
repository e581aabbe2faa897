#pragma once

#include <QObject>

namespace tarnwell {

// Carries "languageDidChanged" to the status menu and the open windows. Connect
// with Qt::DirectConnection when the handler must have run by the time the
// change returns; the signal is emitted on the thread that changed the language.
class QRMLanguageNotifier : public QObject {
    Q_OBJECT
public:
    static QRMLanguageNotifier &sharedNotifier();

    using QObject::QObject;

    void postLanguageDidChanged() { emit languageDidChanged(); }

signals:
    void languageDidChanged();
};

}  // namespace tarnwell
