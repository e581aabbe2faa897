#pragma once

#include <QDBusConnection>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <memory>

#include "ui/DBusTypes.h"

namespace tarnwell {

class DBusMenuExporter;
class QRMMenu;
struct StatusNotifierItemState;

// A StatusNotifierItem on the session bus: owns its bus name, the item object
// and its menu, and registers with whatever StatusNotifierWatcher owns the
// watcher name, again each time a new one appears (a panel restart).
// Setters store first and then emit, because hosts re-read a property only
// when its change signal arrives. StatusNotifierItemAdaptor turns the signals
// into the wire's New* signals.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString id READ id CONSTANT)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString status READ status CONSTANT)
    Q_PROPERTY(QString iconName READ iconName NOTIFY iconChanged)
    Q_PROPERTY(QString iconThemePath READ iconThemePath NOTIFY iconChanged)
    Q_PROPERTY(QString label READ label NOTIFY labelChanged)
    Q_PROPERTY(QString labelGuide READ labelGuide NOTIFY labelChanged)
public:
    StatusNotifierItem(const QString &id, const QDBusConnection &connection,
                       QObject *parent = nullptr);
    ~StatusNotifierItem() override;

    static QString watcherService();
    QString serviceName() const;
    QString menuObjectPath() const;

    QString id() const;
    QString category() const;
    // Hosts hold back updates of passive items, so the item stays active.
    QString status() const;
    QString title() const;
    void setTitle(const QString &title);

    QString iconName() const;
    QString iconThemePath() const;
    const DBusImageList &iconPixmaps() const;
    // One call for the three icon properties, so hosts see one NewIcon.
    void setIcon(const QString &name, const QString &themePath, const QList<QImage> &pixmaps);

    QString toolTipTitle() const;
    QString toolTipDescription() const;
    void setToolTip(const QString &title, const QString &description);

    QString label() const;
    QString labelGuide() const;
    void setLabel(const QString &label, const QString &guide);

    void setMenu(QRMMenu *menu);

    // Called by the adaptor when a host forwards a click.
    void requestActivation(const QPoint &position);

signals:
    void titleChanged();
    void iconChanged();
    void toolTipChanged();
    void labelChanged(const QString &label, const QString &guide);
    void activationRequested(const QPoint &position);

private:
    void registerWithWatcher();

    QDBusConnection connection_;
    std::unique_ptr<StatusNotifierItemState> d_;
    DBusMenuExporter *menuExporter_;
};

}  // namespace tarnwell
