#pragma once

#include <QString>
#include <QStringList>

namespace tarnwell::test {

// One menu entry as whoever presents the menu shows it.
struct ShownEntry {
    QString label;
    bool separator = false;
    bool visible = true;
    bool enabled = true;
    bool icon = false;
    bool announcesSubmenu = false;
    QString children;  // the shape of the submenu, when it was sent
};

// A menu shape as a short string: labels in order, "---" for a separator,
// "!" before a disabled item, "~" before a hidden one, "*" after one with an
// icon, ">" after one announced as a submenu, its children in parentheses.
template <typename Items, typename Describe>
QString menuShape(const Items &items, Describe describe) {
    QStringList parts;
    for (const auto &item : items) {
        const ShownEntry entry = describe(item);
        QString part = entry.visible ? QString() : QStringLiteral("~");
        part += entry.enabled ? QString() : QStringLiteral("!");
        part += entry.separator ? QStringLiteral("---") : entry.label;
        part += entry.icon ? QStringLiteral("*") : QString();
        part += entry.announcesSubmenu ? QStringLiteral(">") : QString();
        part += entry.children.isEmpty() ? QString()
                                         : QLatin1Char('(') + entry.children + QLatin1Char(')');
        parts.append(part);
    }
    return parts.join(QStringLiteral(", "));
}

}  // namespace tarnwell::test
