#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace tarnwell {

// The status item's picture with its title written beside it, for hosts that
// show an icon but no label: without it the figure the program exists to show
// would be invisible there.
class TitledIcon {
public:
    // image scaled to height points, then the title in textColor, vertically
    // centred, drawn at devicePixelRatio so it stays sharp on dense screens
    // instead of being scaled up. A null image leaves only the text; an empty
    // title leaves only the image.
    static QImage draw(const QImage &image, const QString &title, const QColor &textColor,
                       int height, qreal devicePixelRatio);
};

}  // namespace tarnwell
