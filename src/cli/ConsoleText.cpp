#include "cli/ConsoleText.h"

#include <QString>

#include "localization/QRMLocalization.h"

namespace tarnwell::cli {

std::string consoleText(const char *key) {
    return localized(QString::fromLatin1(key)).toStdString();
}

std::string leftJustified(const std::string &text, int width) {
    return QString::fromStdString(text).leftJustified(width).toStdString();
}

std::string rightJustified(const std::string &text, int width) {
    return QString::fromStdString(text).rightJustified(width).toStdString();
}

}  // namespace tarnwell::cli
