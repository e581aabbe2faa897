#include "ui/preferences/QRMStepper.h"

#include <QToolButton>
#include <QVBoxLayout>

namespace tarnwell {

QRMStepper::QRMStepper(QWidget *parent) : QWidget(parent) {
    up_ = new QToolButton;
    down_ = new QToolButton;
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (const auto &[button, arrow, by] :
         {std::tuple{up_, Qt::UpArrow, 1.0}, std::tuple{down_, Qt::DownArrow, -1.0}}) {
        button->setArrowType(arrow);
        button->setAutoRepeat(true);
        // The text field beside it takes the keyboard (Up and Down step there).
        button->setFocusPolicy(Qt::NoFocus);
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
        layout->addWidget(button);
        connect(button, &QToolButton::clicked, this, [this, by = by] { stepBy(by); });
    }
}

void QRMStepper::stepBy(double steps) {
    const double next = std::min(std::max(value_ + steps, minimum_), maximum_);
    if (next != value_) {
        value_ = next;
        emit stepped();
    }
}

}  // namespace tarnwell
