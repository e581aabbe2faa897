#pragma once

#include <QDBusConnection>
#include <QObject>

namespace tarnwell {

// One status item per user session: the first tray start owns a name on the
// session bus, and a later start finds it there and asks it to show itself
// instead of running a second set of timers and cleanings beside it.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.tarnwell.Tarnwell")
public:
    static QString serviceName();
    static QString objectPath();

    // Tries to take the name at once; a start that finds it taken is not the first.
    explicit SingleInstance(const QDBusConnection &connection, QObject *parent = nullptr);
    ~SingleInstance() override;

    bool isFirst() const { return isFirst_; }
    // Asks the first instance to show itself; false when it did not answer.
    bool askFirstToShow();

public slots:
    Q_SCRIPTABLE void Show();

signals:
    // A later start asked this instance to show itself.
    void showRequested();

private:
    QDBusConnection connection_;
    bool isFirst_ = false;
};

}  // namespace tarnwell
