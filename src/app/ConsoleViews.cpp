#include "app/ConsoleViews.h"

#include <QTime>

namespace tarnwell {

namespace {

void printLine(std::FILE *out, const QString &text) {
    const QByteArray line =
        (QTime::currentTime().toString(QStringLiteral("HH:mm:ss")) + QStringLiteral("  ") + text)
            .toLocal8Bit();
    std::fprintf(out, "%s\n", line.constData());
    // Whoever reads a pipe wants each line as it happens.
    std::fflush(out);
}

}  // namespace

void ConsoleStatusItemView::setTitle(const QString &title) {
    // With "no text" chosen there is nothing to print.
    if (!title.isEmpty()) {
        printLine(out_, title);
    }
}

void ConsoleNotifier::showNotificationWithTitle(const QString &title,
                                                const QString &informativeText, const QString &) {
    printLine(out_,
              informativeText.isEmpty() ? title : title + QStringLiteral(": ") + informativeText);
}

}  // namespace tarnwell
