#pragma once

#include <functional>

#include <QToolButton>

class QMenu;

namespace tarnwell {

// A pull-down image button that asks for a fresh menu at every press, so the
// menu always shows the list as it is at the moment of the click.
class QRMPopUpButton : public QToolButton {
    Q_OBJECT
public:
    explicit QRMPopUpButton(QWidget *parent = nullptr);

    // Returns a menu the button takes over; an empty function leaves the
    // current menu.
    void setMenuForPopUp(std::function<QMenu *()> menuForPopUp);

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    std::function<QMenu *()> menuForPopUp_;
};

}  // namespace tarnwell
