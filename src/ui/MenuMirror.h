#pragma once

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <memory>

#include "app/QRMMenu.h"

class QMenu;

namespace tarnwell {

// A QMenu that shows a QRMMenu and follows it: titles, images, enabled and
// visible states change in place, added or removed items rebuild the menu
// they belong to. Picking an action triggers the model's item.
class MenuMirror : public QObject {
    Q_OBJECT
public:
    explicit MenuMirror(QObject *parent = nullptr);
    ~MenuMirror() override;

    void setMenu(QRMMenu *menu);
    QMenu *menu() const { return menu_.get(); }
    // Opens the menu at a screen position, unless it has nothing to show.
    void popUp(const QPoint &position);

    // '&' marks a mnemonic in a QAction's text; a literal one is doubled.
    static QString escapedText(const QString &title);

private:
    void populate(QMenu *target, QRMMenu *source);

    std::unique_ptr<QMenu> menu_;
    QPointer<QRMMenu> source_;
};

}  // namespace tarnwell
