#pragma once
/// What `doctor` says besides the configuration's problems: where the program's files are
/// and how the running app is doing. Pure: the caller asks the app and passes the answer.

#include "halyward/base/json.hpp"
#include "halyward/system/platform_paths.hpp"

#include <optional>

#include <string>

namespace halyward {

/// The lines that name the files in use, one "What: path" line each.
std::string doctorPathLines(const PlatformPaths& paths);

/// The line about the running app from its answer to `ping` (none: nothing answered): not
/// running, running with every chord, or running without the chords it could not take.
std::string doctorAppLine(const std::optional<JSONValue>& pingPayload);

}  // namespace halyward
