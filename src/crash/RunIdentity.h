#pragma once

#include <string>

namespace tarnwell::crash {

// The installation and the run as every report and event file names them: both kits
// of a process share one, so a crash and the usage around it can be put together.
struct RunIdentity {
    std::string installId;  // kept across runs
    std::string sessionId;  // new for each process
};

// A random UUID in lowercase. Normal context.
std::string newIdentifier();

// Reads the installation identifier kept in `installIdPath`, or makes one and keeps it
// there (folders included) when the file is missing or holds no usable identifier;
// with an empty path nothing is kept. The session identifier is always new. Normal
// context.
RunIdentity makeRunIdentity(const std::string &installIdPath);

}  // namespace tarnwell::crash
