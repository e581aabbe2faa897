#pragma once

#include <QRect>
#include <QSize>
#include <QStyledItemDelegate>

namespace tarnwell {

// Draws one row of the monitored-applications table: the icon in a square at
// the left, the name on a first line and the identifier, smaller and greyed,
// on a second. The row's name is its display text, the identifier
// kSubtitleRole, the icon its decoration.
class QRMTextFieldCell : public QStyledItemDelegate {
    Q_OBJECT
public:
    static constexpr int kSubtitleRole = Qt::UserRole + 1;
    static constexpr int kRowHeight = 44;

    using QStyledItemDelegate::QStyledItemDelegate;

    static QRect imageRectForBounds(const QRect &bounds);
    static QRect titleRectForBounds(const QRect &bounds);
    static QRect subtitleRectForBounds(const QRect &bounds);
    // An image of the given size fitted into frame, centred, never enlarged.
    static QRect imageRectForFrame(const QRect &frame, int imageWidth, int imageHeight);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

}  // namespace tarnwell
