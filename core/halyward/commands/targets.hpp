#pragma once
/// Resolving the `<app>` word of a command to what a hotkey, rule or tile acts on: a web
/// app of the configuration, a bundle identifier as typed, or an installed application.

#include "halyward/config/config.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// An application found on this machine by its display name.
struct InstalledApplication {
    std::string name;
    /// The bundle identifier (on Linux, the desktop file id without ".desktop").
    std::string bundleIdentifier;

    bool operator==(const InstalledApplication&) const = default;
};

/// Looks an installed application up by the name a user typed; none when there is none.
using ApplicationLookup = std::function<std::optional<InstalledApplication>(std::string_view name)>;

/// What an `<app>` word stands for.
struct Target {
    enum class Kind { webApp, bundleIdentifier, installedApplication };

    Kind kind = Kind::bundleIdentifier;
    /// The identifier the hotkey, rule or tile acts on.
    std::string bundleIdentifier;
    /// A name to show the user: the web app's or application's name, else the identifier.
    std::string name;
    /// The web app's slug, for `webApp` only.
    std::optional<std::string> slug;

    bool operator==(const Target&) const = default;
};

/// True for a word that reads as a reverse-DNS bundle identifier: at least one ".",
/// no empty part, and no white space, control character or "/".
bool looksLikeBundleIdentifier(std::string_view word);

/// The web app of `config` called `word`: by name, then by slug, then by bundle
/// identifier, each compared exactly first and then ignoring case. None when no web app
/// matches.
std::optional<WebAppRecord> findWebApp(const HalywardConfig& config, std::string_view word);

/// Resolves `word` in this order: a web app (as `findWebApp`), a bundle identifier as
/// typed, an installed application by name through `lookup` (when given). Throws
/// HalywardError::notFound with a sentence quoting the word otherwise.
Target resolveTarget(std::string_view word, const HalywardConfig& config,
                     const ApplicationLookup& lookup);

/// Finds an application by the `Name=` entry of the XDG desktop files in the
/// `applications` folders of `dataFolders` (searched in order, earlier folders hiding
/// later files with the same id). Names compare ignoring case and surrounding blanks;
/// entries marked `Hidden=true` do not count.
/// Calls `visit` with the id (the path below `applications` without ".desktop", "/" made
/// "-") and path of each desktop file in the `applications` folders of `dataFolders`,
/// searched in order: an earlier folder's file hides a later one with the same id, as
/// desktops do. Stops early when `visit` returns false.
void forEachDesktopFile(
    const std::vector<std::string>& dataFolders,
    const std::function<bool(const std::string& id, const std::filesystem::path& file)>& visit);
std::optional<InstalledApplication> findDesktopApplication(
    std::string_view name, const std::vector<std::string>& dataFolders);

/// The folders the desktop-file search reads for the user at `home`: the user's own data
/// folder first, then the system ones (`xdgDataHome` and `xdgDataDirs` as the environment
/// gives them, empty when unset).
std::vector<std::string> desktopDataFolders(std::string_view home, std::string_view xdgDataHome,
                                            std::string_view xdgDataDirs);

/// Finds an application bundle by name in `applicationFolders` (searched in order): a
/// folder "<name>.app", compared
/// ignoring case, whose Contents/Info.plist (XML or binary) has a CFBundleIdentifier. The
/// name shown is CFBundleDisplayName, else CFBundleName, else the folder's own name.
std::optional<InstalledApplication> findBundleApplication(
    std::string_view name, const std::vector<std::string>& applicationFolders);

/// The folders macOS keeps applications in, the user's own last.
std::vector<std::string> bundleApplicationFolders(std::string_view home);

}  // namespace halyward
