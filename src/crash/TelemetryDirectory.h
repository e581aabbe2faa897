#pragma once

#include <string>
#include <string_view>

namespace tarnwell::crash {

// The kit's base folder for one application:
// <user data folder>/telemetry.data/<bundle identifier with every "/" as "_">.
// The user data folder is $XDG_DATA_HOME when it is an absolute path, else
// $HOME/.local/share. Returns an empty string when neither variable gives a folder.
// Normal context only (it allocates); crash capture computes its paths before any fault.
std::string telemetryDirectory(std::string_view bundleIdentifier);

}  // namespace tarnwell::crash
