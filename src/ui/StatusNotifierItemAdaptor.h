#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>

#include "ui/DBusTypes.h"

namespace tarnwell {

class StatusNotifierItem;

// The org.kde.StatusNotifierItem interface with the Ayatana label extension as
// it appears on the bus (dbus/org.kde.StatusNotifierItem.xml). Only this class
// knows the wire names.
class StatusNotifierItemAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QString IconThemePath READ iconThemePath)
    Q_PROPERTY(DBusImageList IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ emptyName)
    Q_PROPERTY(QString AttentionIconName READ emptyName)
    Q_PROPERTY(QString AttentionMovieName READ emptyName)
    Q_PROPERTY(tarnwell::DBusToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)
public:
    explicit StatusNotifierItemAdaptor(StatusNotifierItem *item);

    QString category() const;
    QString id() const;
    QString title() const;
    QString status() const;
    int windowId() const { return 0; }
    QString iconName() const;
    QString iconThemePath() const;
    DBusImageList iconPixmap() const;
    QString emptyName() const { return {}; }
    DBusToolTip toolTip() const;
    // The whole item is the menu: hosts that honour this open it on a primary click.
    bool itemIsMenu() const { return true; }
    QDBusObjectPath menu() const;
    QString label() const;
    QString labelGuide() const;

public slots:
    void ContextMenu(int x, int y);
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void Scroll(int delta, const QString &orientation);

signals:
    void NewTitle();
    void NewIcon();
    void NewToolTip();
    void XAyatanaNewLabel(const QString &label, const QString &guide);

private:
    StatusNotifierItem *item_;
};

}  // namespace tarnwell
