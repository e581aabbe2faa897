#pragma once

#include <QObject>
#include <QPointer>

#include "ui/preferences/PreferencesServices.h"

namespace tarnwell {

class QRMPreferencesWindowController;

// Shows the one preferences window: makes a controller when none is open,
// brings the open one to the front otherwise. The controller deletes itself
// when its window closes, and the next request makes a fresh one.
class PreferencesWindowOpener : public QObject {
    Q_OBJECT
public:
    explicit PreferencesWindowOpener(PreferencesServices services, QObject *parent = nullptr);
    ~PreferencesWindowOpener() override;

    void showPreferencesWindow();
    // The open window, or null.
    QRMPreferencesWindowController *preferencesWindowController() const;

private:
    PreferencesServices services_;
    QPointer<QRMPreferencesWindowController> controller_;
};

}  // namespace tarnwell
