#pragma once

#include <QImage>
#include <QObject>

namespace tarnwell {

// The status item's picture as the panel should show it: a template image is
// painted in the panel's text colour, and painted again when the desktop's
// palette changes; any other image is shown as given.
class PanelImage : public QObject {
    Q_OBJECT
public:
    explicit PanelImage(QObject *parent = nullptr);

    void set(const QImage &image, bool isTemplate);
    QImage shown() const { return shown_; }

signals:
    void shownChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void update();

    QImage image_;
    bool isTemplate_ = false;
    QImage shown_;
};

}  // namespace tarnwell
