#pragma once

#include <QString>
#include <QStringList>
#include <ostream>
#include <string>

// Readable failure messages for Qt values in GoogleTest assertions.
inline void PrintTo(const QString &text, std::ostream *out) {
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList &list, std::ostream *out) {
    *out << '[' << list.join(QStringLiteral(", ")).toStdString() << ']';
}

namespace tarnwell::test {

// Names each generated test after the `name` of its table row.
inline constexpr auto caseName = [](const auto &info) { return std::string(info.param.name); };

}  // namespace tarnwell::test
