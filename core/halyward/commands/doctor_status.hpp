#pragma once
/// What `doctor` says besides the configuration's problems: where the program's files are
/// and how the running app is doing. Pure: the caller asks the app and passes the answer.

#include "halyward/system/platform_paths.hpp"

#include <string>

namespace halyward {

/// The lines that name the files in use, one "What: path" line each.
std::string doctorPathLines(const PlatformPaths& paths);

}  // namespace halyward
