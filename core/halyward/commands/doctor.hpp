#pragma once
/// The configuration doctor: every problem of a configuration that would make a hotkey,
/// rule, layout or web app not work, one finding each.

#include "halyward/base/command_output.hpp"
#include "halyward/config/config.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// One problem the doctor found.
struct DoctorFinding {
    /// The error code the problem would have as a command failure ("config", "conflict",
    /// "not_found").
    std::string code;
    /// One sentence (one line) that says where the problem is and what it is.
    std::string message;
    /// The exit status that goes with `code`.
    std::int32_t exitCode = ExitCode::failed;

    bool operator==(const DoctorFinding&) const = default;
};

/// The finding for a configuration that could not be read at all: its error as it stands.
DoctorFinding doctorFinding(const HalywardError& error);

/// Checks a configuration that parsed: every chord (general, leader key, tile hotkeys,
/// web apps, `[hotkeys]`), unknown tile-hotkey actions, hotkey conflicts and chords macOS
/// reserves, tile names of web apps, rules and layouts, rule title patterns, and web apps
/// whose bundle folder under `appsDirectory` is missing (`pathExists` is asked).
/// Findings come in that order.
std::vector<DoctorFinding> doctorFindings(
    const HalywardConfig& config, std::string_view appsDirectory,
    const std::function<bool(const std::string& path)>& pathExists);

/// The output of `doctor`: status 0 and "No problems found." without findings; otherwise
/// one line per finding and the highest exit status among them. The payload is the list of
/// findings as {"code","exitCode","message"} objects (empty when healthy).
CommandOutput doctorOutput(const std::vector<DoctorFinding>& findings);

/// The bundle folder of a web app called `name` in `appsDirectory`: the name + ".app".
/// None when the name cannot be one folder name there (empty, ".", "..", holding "/" or
/// a NUL byte), so such a name never points outside the apps folder.
std::optional<std::string> webAppBundleFolder(std::string_view appsDirectory,
                                              std::string_view name);

/// Compiles `pattern` as a regular expression for window titles; the compiler's reason
/// when it does not compile, none when it does.
std::optional<std::string> titlePatternError(std::string_view pattern);

}  // namespace halyward
