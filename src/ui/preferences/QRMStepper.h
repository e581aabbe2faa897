#pragma once

#include <QWidget>

class QToolButton;

namespace tarnwell {

// A pair of arrows that steps a number up or down within its bounds, to sit
// beside a text field that shows the number. Bounds and value are doubles,
// so a bound below the minimum is kept as given.
class QRMStepper : public QWidget {
    Q_OBJECT
public:
    explicit QRMStepper(QWidget *parent = nullptr);

    double minimum() const { return minimum_; }
    double maximum() const { return maximum_; }
    void setMinimum(double minimum) { minimum_ = minimum; }
    void setMaximum(double maximum) { maximum_ = maximum; }
    double value() const { return value_; }
    // Shows a value; no signal.
    void setValue(double value) { value_ = value; }
    // value() rounded towards zero, as the text field shows it.
    qint64 integerValue() const { return qint64(value_); }

    // Steps as the arrows do: up for a positive count, within the bounds.
    void stepBy(double steps);

    QToolButton *upButton() const { return up_; }
    QToolButton *downButton() const { return down_; }

signals:
    // A step by the user; value() holds the new value.
    void stepped();

private:
    QToolButton *up_;
    QToolButton *down_;
    double minimum_ = 0;
    double maximum_ = 100;
    double value_ = 0;
};

}  // namespace tarnwell
