#include "ui/StatusNotifierItemView.h"

#include <QGuiApplication>
#include <QMenu>

#include "ui/StatusNotifierItem.h"

namespace tarnwell {

namespace {

// Hosts that load the icon by name scale the file down to their panel; drawn
// at this height its text stays sharp on panels up to twice the usual size.
constexpr int kIconFileHeight = 48;

}  // namespace

StatusNotifierItemView::StatusNotifierItemView(const QDBusConnection &connection,
                                               PanelAppearance &appearance, QObject *parent)
    : QObject(parent),
      item_(new StatusNotifierItem(QStringLiteral("tarnwell"), connection, this)),
      panelImage_(appearance) {
    item_->setTitle(QGuiApplication::applicationDisplayName());
    item_->setToolTip(QGuiApplication::applicationDisplayName(), {});
    connect(&panelImage_, &PanelImage::shownChanged, this, &StatusNotifierItemView::showImage);
    // Hosts that ignore ItemIsMenu ask for an activation instead: show the
    // same menu where the user clicked.
    connect(item_, &StatusNotifierItem::activationRequested, &menuMirror_, &MenuMirror::popUp);
}

StatusNotifierItemView::~StatusNotifierItemView() = default;

void StatusNotifierItemView::setTitle(const QString &title) {
    title_ = title;
    panelImage_.setTitle(title);
    showLabel();
}

void StatusNotifierItemView::setToolTip(const QString &toolTip) {
    item_->setToolTip(QGuiApplication::applicationDisplayName(), toolTip);
}

void StatusNotifierItemView::setImage(const QImage &image, bool isTemplate) {
    panelImage_.set(image, isTemplate);
}

void StatusNotifierItemView::setMenu(QRMMenu *menu) {
    item_->setMenu(menu);
    menuMirror_.setMenu(menu);
}

void StatusNotifierItemView::setTitleDrawn(bool drawn) {
    panelImage_.setTitleDrawn(drawn);
    showLabel();
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

void StatusNotifierItemView::showLabel() {
    // A title drawn into the icon is not repeated beside it.
    const QString label = panelImage_.titleDrawn() ? QString() : title_;
    item_->setLabel(label, labelGuide(label));
}

void StatusNotifierItemView::showImage() {
    if (panelImage_.isEmpty()) {
        item_->setIcon({}, {}, {});
        return;
    }
    QList<QImage> pixmaps;
    for (int size : pixmapSizes()) {
        pixmaps.append(panelImage_.rendered(size));
    }
    item_->setIcon(iconFiles_.store(panelImage_.rendered(kIconFileHeight)), iconFiles_.directory(),
                   pixmaps);
}

}  // namespace tarnwell
