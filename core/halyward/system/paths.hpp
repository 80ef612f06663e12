#pragma once
/// Every well-known path of the program, derived from the user's home folder. Nothing here
/// touches the disk; `home` is taken without a trailing slash.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::HalywardPaths {

/// home + "/.config/halyward"
std::string configDirectory(std::string_view home);
/// home + "/.config/halyward/config.toml"
std::string configFile(std::string_view home);
/// home + "/Library/Application Support/Halyward"
std::string applicationSupport(std::string_view home);
/// The preferred control socket, in the application-support folder.
std::string socketFile(std::string_view home);
/// The control socket in the config folder, for homes too long for `socketFile`.
std::string fallbackSocketFile(std::string_view home);
/// `socketFile(home)` when its UTF-8 length is at most `pathLimit` (the capacity of a
/// local socket address), otherwise `fallbackSocketFile(home)`.
std::string resolvedSocketFile(std::string_view home, std::int64_t pathLimit);
/// The agent command file in the application-support folder.
std::string commandFile(std::string_view home);
/// The record of the last update check.
std::string updateStampFile(std::string_view home);
/// The record of the accessibility grant.
std::string accessibilityGrantFile(std::string_view home);
/// home + "/Applications/Halyward Apps": where generated web-app bundles go.
std::string appsDirectory(std::string_view home);
/// Where the command-line tool is offered to be linked, system-wide first.
std::vector<std::string> preferredCLILinks(std::string_view home);

}  // namespace halyward::HalywardPaths
