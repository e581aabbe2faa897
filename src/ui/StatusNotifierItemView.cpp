#include "ui/StatusNotifierItemView.h"

#include <QGuiApplication>
#include <QMenu>
#include <QPainter>

#include "ui/StatusNotifierItem.h"

namespace tarnwell {

StatusNotifierItemView::StatusNotifierItemView(const QDBusConnection &connection, QObject *parent)
    : QObject(parent), item_(new StatusNotifierItem(QStringLiteral("tarnwell"), connection, this)) {
    item_->setTitle(QGuiApplication::applicationDisplayName());
    item_->setToolTip(QGuiApplication::applicationDisplayName(), {});
    connect(&panelImage_, &PanelImage::shownChanged, this, &StatusNotifierItemView::showImage);
    // Hosts that ignore ItemIsMenu ask for an activation instead: show the
    // same menu where the user clicked.
    connect(item_, &StatusNotifierItem::activationRequested, this, [this](const QPoint &position) {
        if (!menuMirror_.menu()->isEmpty()) {
            menuMirror_.menu()->popup(position);
        }
    });
}

StatusNotifierItemView::~StatusNotifierItemView() = default;

void StatusNotifierItemView::setTitle(const QString &title) {
    item_->setLabel(title, labelGuide(title));
    item_->setToolTip(QGuiApplication::applicationDisplayName(), title);
}

void StatusNotifierItemView::setImage(const QImage &image, bool isTemplate) {
    panelImage_.set(image, isTemplate);
}

void StatusNotifierItemView::setMenu(QRMMenu *menu) {
    item_->setMenu(menu);
    menuMirror_.setMenu(menu);
}

QList<int> StatusNotifierItemView::pixmapSizes() {
    return {16, 22, 32, 48, 64};
}

QString StatusNotifierItemView::labelGuide(const QString &label) {
    QString guide = label;
    for (QChar &c : guide) {
        if (c.isDigit()) {
            c = QLatin1Char('0');
        }
    }
    return guide;
}

QImage StatusNotifierItemView::squared(const QImage &image) {
    if (image.width() == image.height()) {
        return image;
    }
    const int side = std::max(image.width(), image.height());
    QImage square(side, side, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.drawImage((side - image.width()) / 2, (side - image.height()) / 2, image);
    return square;
}

void StatusNotifierItemView::showImage() {
    const QImage shown = panelImage_.shown();
    if (shown.isNull()) {
        item_->setIcon({}, {}, {});
        return;
    }
    const QImage square = squared(shown);
    QList<QImage> pixmaps;
    for (int size : pixmapSizes()) {
        pixmaps.append(square.scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    item_->setIcon(iconFiles_.store(square), iconFiles_.directory(), pixmaps);
}

}  // namespace tarnwell
