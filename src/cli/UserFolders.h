#pragma once

#include <optional>
#include <string>

namespace tarnwell::cli {

// Makes the process environment follow the XDG base directory rules before any
// part of the program (Qt's standard paths, the crash kit, the events kit) reads
// it: a relative XDG_*_HOME or XDG_RUNTIME_DIR is invalid and is removed, so the
// default under HOME applies instead of the working directory. Returns why the
// program cannot start when there is no home folder (HOME unset, empty or
// relative), since every folder of ours would otherwise land under "/".
std::optional<std::string> settleUserFolders();

}  // namespace tarnwell::cli
