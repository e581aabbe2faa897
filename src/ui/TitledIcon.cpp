#include "ui/TitledIcon.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QStringList>
#include <algorithm>

namespace tarnwell {

namespace {

// Fonts are measured once at this size; advances and heights scale with it.
constexpr qreal kReferencePixelSize = 100.0;

struct Layout {
    QStringList lines;
    qreal pixelSize = 0;
};

QFont figureFont(qreal pixelSize) {
    QFont font = QGuiApplication::font();
    font.setBold(true);
    font.setPixelSize(std::max(1, int(pixelSize)));
    return font;
}

// The largest text that fits the lines into the square.
qreal fittingPixelSize(const QStringList &lines, qreal side) {
    const QFontMetricsF metrics(figureFont(kReferencePixelSize));
    qreal widest = 0;
    for (const QString &line : lines) {
        widest = std::max(widest, metrics.horizontalAdvance(line));
    }
    const qreal tallest = metrics.height() * lines.size();
    return kReferencePixelSize * std::min(side / std::max(widest, 1.0), side / tallest);
}

// Every way to break the words into one, two or three lines.
Layout bestLayout(const QString &title, qreal side) {
    const QStringList words = title.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const qsizetype count = words.size();
    auto join = [&words](qsizetype from, qsizetype to) {
        return words.mid(from, to - from).join(QLatin1Char(' '));
    };
    Layout best;
    auto consider = [&best, side](QStringList lines) {
        const qreal size = fittingPixelSize(lines, side);
        if (size > best.pixelSize) {
            best = {std::move(lines), size};
        }
    };
    consider({join(0, count)});
    for (qsizetype first = 1; first < count; ++first) {
        consider({join(0, first), join(first, count)});
        for (qsizetype second = first + 1; second < count; ++second) {
            consider({join(0, first), join(first, second), join(second, count)});
        }
    }
    return best;
}

}  // namespace

QImage TitledIcon::draw(const QString &title, const QColor &textColor, int side,
                        qreal devicePixelRatio) {
    const int pixels = std::max(1, qRound(side * devicePixelRatio));
    QImage result(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    const Layout layout = bestLayout(title, pixels);
    if (!layout.lines.isEmpty() && layout.pixelSize >= 1) {
        const QFont font = figureFont(layout.pixelSize);
        const QFontMetricsF metrics(font);
        QPainter painter(&result);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.setFont(font);
        painter.setPen(textColor);
        const qreal lineHeight = metrics.height();
        qreal top = (pixels - lineHeight * layout.lines.size()) / 2.0;
        for (const QString &line : layout.lines) {
            const qreal left = (pixels - metrics.horizontalAdvance(line)) / 2.0;
            painter.drawText(QPointF(left, top + metrics.ascent()), line);
            top += lineHeight;
        }
    }
    result.setDevicePixelRatio(devicePixelRatio);
    return result;
}

}  // namespace tarnwell
