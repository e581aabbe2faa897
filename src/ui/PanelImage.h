#pragma once

#include <QImage>
#include <QObject>
#include <QString>

namespace tarnwell {

class PanelAppearance;

// The status item's picture as the panel should show it: a template image is
// painted in the panel's text colour, and painted again when the panel turns
// dark or light; where the host shows no label, the title takes the
// picture's place, since a square too small for both is all such hosts give.
class PanelImage : public QObject {
    Q_OBJECT
public:
    explicit PanelImage(PanelAppearance &appearance, QObject *parent = nullptr);

    void set(const QImage &image, bool isTemplate);
    void setTitle(const QString &title);
    void setTitleDrawn(bool drawn);
    bool titleDrawn() const { return titleDrawn_; }

    // Nothing to show yet.
    bool isEmpty() const { return image_.isNull() && !showsTitle(); }
    // The picture, or the drawn title, on a square height points high.
    QImage rendered(int height, qreal devicePixelRatio = 1.0) const;

signals:
    void shownChanged();

private:
    bool showsTitle() const { return titleDrawn_ && !title_.isEmpty(); }
    void update();

    PanelAppearance &appearance_;
    QImage image_;
    bool isTemplate_ = false;
    QString title_;
    bool titleDrawn_ = false;
    // What was last announced: the painted image and the text colour.
    QImage painted_;
    QColor textColor_;
    QString shownTitle_;
};

}  // namespace tarnwell
