#include "ui/preferences/QRMTextFieldCell.h"

#include <cmath>

#include <QApplication>
#include <QIcon>
#include <QPainter>

namespace tarnwell {

namespace {

constexpr int kMargin = 5;
constexpr int kTitleHeight = 17;

void drawText(QPainter *painter, const QRect &rect, const QString &text, int pointSize,
              const QColor &color) {
    QFont font = QApplication::font();
    font.setPointSize(pointSize);
    painter->setFont(font);
    painter->setPen(color);
    const QString elided = QFontMetrics(font).elidedText(text, Qt::ElideRight, rect.width());
    painter->drawText(rect, Qt::AlignLeft | Qt::AlignVCenter, elided);
}

}  // namespace

QRect QRMTextFieldCell::imageRectForBounds(const QRect &bounds) {
    QRect image = bounds.adjusted(kMargin, kMargin, -kMargin, -kMargin);
    image.setWidth(image.height());
    return image;
}

QRect QRMTextFieldCell::titleRectForBounds(const QRect &bounds) {
    const QRect image = imageRectForBounds(bounds);
    // Measured from the bounds' right edge less the image and two margins,
    // not from the title's own left edge.
    return QRect(image.x() + image.width() + kMargin, bounds.y() + kMargin,
                 bounds.x() + bounds.width() - kMargin - image.width() - kMargin, kTitleHeight);
}

QRect QRMTextFieldCell::subtitleRectForBounds(const QRect &bounds) {
    const QRect title = titleRectForBounds(bounds);
    return QRect(title.x(), title.y() + kTitleHeight, title.width(),
                 bounds.height() - kMargin - kTitleHeight - kMargin);
}

QRect QRMTextFieldCell::imageRectForFrame(const QRect &frame, int imageWidth, int imageHeight) {
    double scale = 1.0;
    if (imageWidth > frame.width() || imageHeight > frame.height()) {
        scale = std::min(double(frame.width()) / imageWidth, double(frame.height()) / imageHeight);
    }
    return QRect(int(std::lround(frame.width() * 0.5 + frame.x() - scale * imageWidth * 0.5)),
                 int(std::lround(frame.height() * 0.5 + frame.y() - scale * imageHeight * 0.5)),
                 int(std::lround(scale * imageWidth)), int(std::lround(scale * imageHeight)));
}

void QRMTextFieldCell::paint(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const {
    // The selection background only; the contents are drawn here.
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    background.icon = QIcon();
    QApplication::style()->drawControl(QStyle::CE_ItemViewItem, &background, painter);

    const bool highlighted = option.state & QStyle::State_Selected;
    const QPalette &palette = option.palette;
    painter->save();
    const QString title = index.data(Qt::DisplayRole).toString();
    if (!title.isEmpty()) {
        drawText(painter, titleRectForBounds(option.rect), title, 13,
                 highlighted ? palette.highlightedText().color() : palette.text().color());
    }
    const QString subtitle = index.data(kSubtitleRole).toString();
    if (!subtitle.isEmpty()) {
        drawText(painter, subtitleRectForBounds(option.rect), subtitle, 10,
                 highlighted ? palette.highlightedText().color()
                             : palette.color(QPalette::Disabled, QPalette::Text));
    }
    const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
    if (!icon.isNull()) {
        const QRect square = imageRectForBounds(option.rect);
        const QSize size = icon.actualSize(QSize(256, 256));
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        icon.paint(painter, imageRectForFrame(square, size.width(), size.height()));
    }
    painter->restore();
}

QSize QRMTextFieldCell::sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const {
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), kRowHeight);
}

}  // namespace tarnwell
