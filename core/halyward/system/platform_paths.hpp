#pragma once
/// Where this platform keeps the program's files. macOS keeps everything under the home
/// folder as `HalywardPaths` says; Linux follows the XDG base directories: the control
/// socket in the session's runtime folder and the program's state in the state folder, so
/// nothing appears under `~/Library`. The choice is a pure function of the convention and
/// of the environment values it is given; only `currentPathEnvironment` reads the process
/// environment, once, at the edge of each executable.

#include <cstdint>
#include <string>
#include <string_view>

namespace halyward {

/// The two ways of placing files.
enum class PathConvention {
    /// Everything derived from the home folder (`~/Library/Application Support/Halyward`).
    macOS,
    /// The XDG base directories (`$XDG_RUNTIME_DIR`, `$XDG_STATE_HOME`).
    xdg,
};

/// The convention of the system this program was built for.
constexpr PathConvention hostPathConvention() {
#ifdef __APPLE__
    return PathConvention::macOS;
#else
    return PathConvention::xdg;
#endif
}

/// The environment values that decide the paths. An empty value is an unset variable.
struct PathEnvironment {
    /// The user's home folder, without a trailing slash.
    std::string home;
    /// `$XDG_RUNTIME_DIR`: the session's private folder for sockets.
    std::string runtimeDirectory;
    /// `$XDG_STATE_HOME`: where state that outlives a session goes.
    std::string stateHome;
    /// `$XDG_CONFIG_HOME`: only the autostart folder follows it; `config.toml` stays in
    /// `~/.config/halyward` on every system, where the documentation says it is.
    std::string configHome;
    bool operator==(const PathEnvironment&) const = default;
};

/// The files and folders in use.
struct PlatformPaths {
    std::string configDirectory;
    std::string configFile;
    /// The control socket the running app listens on and the command line talks to.
    std::string socketFile;
    /// The folder of the program's own state: the update stamp, the agent command file.
    std::string stateDirectory;
    std::string updateStampFile;
    std::string commandFile;
    /// The session's autostart entry for the running app (XDG only; empty on macOS, where
    /// a login item is registered with the system instead).
    std::string autostartFile;
    bool operator==(const PlatformPaths&) const = default;
};

/// The paths of `convention` for `environment`. `socketPathLimit` is the capacity of a
/// local socket address in bytes: a socket path longer than that moves to the fallback in
/// the configuration folder, as does an XDG socket without a usable runtime folder.
/// Relative XDG values are ignored, as the base-directory rules require.
PlatformPaths platformPaths(PathConvention convention, const PathEnvironment& environment,
                            std::int64_t socketPathLimit);

/// The longest socket path, in bytes, a local socket address holds on this system.
std::int64_t localSocketPathLimit();

/// The desktop entry id of the running app (its launcher entry and its autostart entry
/// are named for it).
inline constexpr const char* halywardAppID = "app.halyward.Halyward";

/// Reads `HOME` (or the password database when it is unset), `XDG_RUNTIME_DIR`,
/// `XDG_STATE_HOME` and `XDG_CONFIG_HOME` from the process environment.
PathEnvironment currentPathEnvironment();

/// `platformPaths(hostPathConvention(), currentPathEnvironment(), localSocketPathLimit())`.
PlatformPaths currentPlatformPaths();

}  // namespace halyward
