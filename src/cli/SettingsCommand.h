#pragma once

#include "cli/CommandLine.h"

namespace tarnwell {
class QRMPreferencesManager;
}

namespace tarnwell::cli {

// tarnwell settings [KEY [VALUE]] | --reset
// Lists, prints, sets or removes the settings through the typed store, so a
// value set here is checked exactly as the program would read it.
int runSettings(Arguments args);
int runSettings(Arguments args, QRMPreferencesManager &preferences);

}  // namespace tarnwell::cli
