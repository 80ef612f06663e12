#pragma once
/// Writing, refreshing and removing web-app bundles on disk.
///
/// Every operation that changes a bundle ends in `signAndRegister`, which on macOS signs
/// the bundle ad hoc and registers it with Launch Services, and on Linux writes the app's
/// desktop entry so that launchers list it. Paths outside the bundle are derived from
/// `home`, the user's home folder passed in by the caller, never from the environment.

#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/staging.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::WebBundleWriter {

/// `hostDigest` of the file's contents; none when it cannot be read.
std::optional<std::string> digest(const std::filesystem::path& ofFile);

/// Creates the whole bundle at `plan.bundlePath`, replacing any bundle already there:
/// Contents/Info.plist, Contents/Resources/stub.json, the icon as
/// Contents/Resources/AppIcon.icns (`icon`, ICNS bytes) and AppIcon.png (`pngIcon`, used by
/// Linux launchers), and a copy of `hostBinary` as Contents/MacOS/HalywardWebHost with
/// permissions 0755; then `signAndRegister`.
///
/// The bundle is assembled in a hidden sibling folder and renamed into place, so the path
/// holds either the old bundle or the complete new one, never a half-written one. Throws
/// HalywardError::usage for an empty icon or a `pngIcon` that is not a PNG, and
/// HalywardError::failed naming the path for a file-system failure (a read-only apps
/// folder, a missing host executable); nothing is left behind then.
void install(const WebAppBundlePlan& plan, const std::filesystem::path& hostBinary,
             const std::optional<std::vector<std::uint8_t>>& icon, std::string_view home,
             const std::optional<std::vector<std::uint8_t>>& pngIcon = std::nullopt);

/// Builds the whole bundle of `plan`, as `install` does, in a staging folder beside
/// `plan.bundlePath`, without touching the bundle path; the folder goes away with the
/// answer unless `place` moved it into place. Throws as `install` does.
std::unique_ptr<StagingFolder> stage(const WebAppBundlePlan& plan,
                                     const std::filesystem::path& hostBinary,
                                     const std::optional<std::vector<std::uint8_t>>& icon,
                                     const std::optional<std::vector<std::uint8_t>>& pngIcon);

/// Throws HalywardError::conflict, quoting the path, when anything at all (a folder, a
/// file, a link, even a dangling one) is at `bundlePath`: it is not this run's to replace.
void requireFreeBundlePath(const std::filesystem::path& bundlePath);

/// Renames the staged bundle to `bundlePath` in one step that fails instead of replacing
/// anything already there (then HalywardError::conflict as `requireFreeBundlePath`, and
/// nothing is changed). Throws HalywardError::failed for other file-system failures.
void place(StagingFolder& staged, const std::filesystem::path& bundlePath);

/// Undoes `place` when its record could not be written: deletes the bundle at
/// `bundlePath` only while it is still the very folder `staged` placed there, together
/// with the launcher entries written for it. Never throws.
void withdraw(const StagingFolder& staged, const std::filesystem::path& bundlePath,
              std::string_view home);

/// Rewrites Info.plist and stub.json of an existing bundle (each file atomically), then
/// `signAndRegister`. The host executable and the icons stay as they are. Does nothing
/// when the bundle has no Contents folder. Throws HalywardError::failed on a write error.
void refreshDetails(const std::filesystem::path& at, const WebAppBundlePlan& plan,
                    std::string_view home);

/// Replaces the host executable of an existing bundle with a copy of `hostBinary` (renamed
/// over the old one, so the bundle never lacks an executable), then `signAndRegister`.
/// Does nothing when the bundle has no Contents folder. Throws HalywardError::failed.
void refreshHost(const std::filesystem::path& at, const std::filesystem::path& hostBinary,
                 std::string_view identifier, std::string_view home);

/// The "CFBundleIdentifier" of the bundle's Contents/Info.plist (XML or binary); none when
/// it cannot be read.
std::optional<std::string> bundleIdentifier(const std::filesystem::path& at);

/// Deletes the bundle folder when there is one (a missing bundle is not an error) and, on
/// Linux, the desktop entries that this program wrote for it. Throws
/// HalywardError::failed when the folder cannot be deleted.
void remove(const std::filesystem::path& bundlePath, std::string_view home);

/// macOS: runs codesign (`codesignArguments`) and then lsregister -f on the bundle.
/// Linux: writes the desktop entry for the bundle (`installDesktopEntry`) and refreshes
/// the launcher cache. Never fails: a missing tool, a failed signature or an unwritable
/// applications folder leaves the bundle usable by its path. Answers why the app will
/// not be listed by launchers (Linux: why its entry was not written); none when it will.
std::optional<std::string> signAndRegister(const std::filesystem::path& bundlePath,
                                           std::string_view identifier, std::string_view home);

/// Runs `executable` (looked up in the search path when it has no "/") with `arguments`,
/// its output and errors sent to the null device, and waits for it to exit. Answers its
/// exit status, or none when it could not be started; neither is an error.
std::optional<int> run(const std::string& executable, const std::vector<std::string>& arguments);

}  // namespace halyward::WebBundleWriter
