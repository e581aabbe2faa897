#include "StatusBarIcons.h"

#include <QImageReader>

namespace tarnwell {

QImage loadStatusBarIcon(const QString &name, const QSize &pixelSize) {
    QImageReader reader(QStringLiteral(":/icons/%1.svg").arg(name));
    reader.setScaledSize(pixelSize);
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

}  // namespace tarnwell
