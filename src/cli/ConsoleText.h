#pragma once

#include <string>

namespace tarnwell::cli {

// The console's texts follow the interface language chosen in the settings,
// like the tray menu. Output is UTF-8.
std::string consoleText(const char *key);

// Pads with spaces to width characters, not bytes, so that Cyrillic labels
// line up like Latin ones.
std::string leftJustified(const std::string &text, int width);
std::string rightJustified(const std::string &text, int width);

}  // namespace tarnwell::cli
