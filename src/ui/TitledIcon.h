#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace tarnwell {

// The title drawn as the status item's icon, for hosts that show an icon but
// no label: without it the figure the program exists to show would be
// invisible there. Every such host (lxqt-panel, xfce4-panel's tray, Plasma,
// XEmbed trays) gives an icon a square the height of the panel and shrinks
// anything wider into it, so the figure fills the square itself.
class TitledIcon {
public:
    // title on one, two or three lines broken at spaces, whichever allows the
    // largest text, centred in a square side points wide, in textColor; drawn
    // at devicePixelRatio so it stays sharp on dense screens instead of being
    // scaled up.
    static QImage draw(const QString &title, const QColor &textColor, int side,
                       qreal devicePixelRatio);
};

}  // namespace tarnwell
