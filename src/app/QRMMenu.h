#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>

namespace tarnwell {

class QRMMenu;

// One entry of a menu the controller builds and the status item host shows.
// The controller owns the model; hosts only observe it and call trigger().
class QRMMenuItem : public QObject {
    Q_OBJECT
public:
    explicit QRMMenuItem(const QString &title = {}, QObject *parent = nullptr);
    static QRMMenuItem *separatorItem(QObject *parent = nullptr);

    bool isSeparator() const { return separator_; }
    QString title() const { return title_; }
    void setTitle(const QString &title);
    QImage image() const { return image_; }
    void setImage(const QImage &image);
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled);
    bool isVisible() const { return visible_; }
    void setVisible(bool visible);
    QRMMenu *submenu() const { return submenu_; }
    void setSubmenu(QRMMenu *submenu);

    // Called by a host when the user picks the item.
    void trigger();

signals:
    // Title, image, enabled or visible state changed.
    void changed();
    void triggered();

private:
    QString title_;
    QImage image_;
    bool separator_ = false;
    bool enabled_ = true;
    bool visible_ = true;
    QRMMenu *submenu_ = nullptr;
};

class QRMMenu : public QObject {
    Q_OBJECT
public:
    explicit QRMMenu(QObject *parent = nullptr);

    // The menu takes ownership of the item.
    QRMMenuItem *addItem(QRMMenuItem *item);
    QRMMenuItem *addItem(const QString &title);
    void addSeparator();
    void removeAllItems();
    const QList<QRMMenuItem *> &items() const { return items_; }

    // Called by a host just before it shows the menu, so the owner can
    // refresh the titles first.
    void notifyAboutToShow();
    // Called by a host once the menu it showed has closed.
    void notifyClosed();

signals:
    // Items were added or removed (not emitted for changes inside an item).
    void itemsChanged();
    void aboutToShow();
    void closed();

private:
    QList<QRMMenuItem *> items_;
};

}  // namespace tarnwell
