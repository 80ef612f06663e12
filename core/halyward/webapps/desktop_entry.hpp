#pragma once
/// Linux launcher integration of web apps: one desktop entry per bundle in the user's
/// applications folder, marked with the bundle's path so that only our own entries are
/// ever replaced or removed.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace halyward {

/// What a web app's desktop entry says.
struct DesktopEntry {
    /// The app's display name.
    std::string name;
    /// The bundle folder; Exec runs its host executable and X-Halyward-Bundle records it.
    std::filesystem::path bundlePath;
    /// The desktop application id (`applicationID` of the bundle identifier): the file
    /// name without ".desktop" and the StartupWMClass.
    std::string applicationID;
    /// Absolute path of the app's PNG icon; none gives the theme's "web-browser" icon.
    std::optional<std::filesystem::path> iconPath;
    /// The program Exec runs when it is not the bundle's host itself: a link to that host
    /// (`desktopLauncherLink`) for a bundle path that holds "%".
    std::optional<std::filesystem::path> program = std::nullopt;

    /// The entry's text: Type, Name, Exec, Icon, StartupWMClass, Categories, Terminal and
    /// X-Halyward-Bundle in the [Desktop Entry] group, every value escaped as the Desktop
    /// Entry format requires.
    std::string text() const;

    bool operator==(const DesktopEntry&) const = default;
};

/// home + "/.local/share/applications".
std::filesystem::path desktopEntryFolder(std::string_view home);

/// The entry file of an app: desktopEntryFolder(home) / (applicationID + ".desktop").
std::filesystem::path desktopEntryPath(std::string_view home, std::string_view applicationID);

/// home + "/.local/share/halyward/launchers/" + applicationID: a link to the host of a
/// bundle whose path holds "%", which launchers cannot start directly.
std::filesystem::path desktopLauncherLink(std::string_view home, std::string_view applicationID);

/// A string value escaped for a desktop entry: "\\", "\n", "\t", "\r" and a leading blank
/// as "\s".
std::string desktopEntryEscaped(std::string_view value);

/// One argument of an Exec key before the value's own escaping: always between double
/// quotes, with '"', '`', '$' and '\' preceded by '\' and '%' doubled.
std::string desktopExecArgument(std::string_view argument);

/// The bundle path recorded as X-Halyward-Bundle in the [Desktop Entry] group of an
/// entry's text, unescaped; none when the entry is not one of ours.
std::optional<std::string> desktopEntryBundle(std::string_view entryText);

/// The value of `key` in the [Desktop Entry] group of an entry's text, unescaped; none
/// when the group has no such key.
std::optional<std::string> desktopEntryValue(std::string_view entryText, std::string_view key);

/// Writes the desktop entry of the bundle at `bundlePath` (its name and identifier read
/// from its Info.plist, its icon Contents/Resources/AppIcon.png when present), then runs
/// update-desktop-database on the folder when that tool is installed. Launchers look for
/// Exec's program before they expand "%%", so a host whose path holds "%" is run through
/// `desktopLauncherLink`, made (or replaced) first. An existing file of the same name
/// that this program did not write (no X-Halyward-Bundle) is left alone, and nothing is
/// written when `home` is not an absolute path. Answers why the entry was not written, as
/// a phrase that follows "It will not appear in the launcher: "; none when it was. Throws
/// nothing.
std::optional<std::string> installDesktopEntry(std::string_view home,
                                               const std::filesystem::path& bundlePath);

/// Removes every entry in the applications folder whose X-Halyward-Bundle is
/// `bundlePath`, with the launcher link made for it, then refreshes the launcher cache
/// when something was removed. Answers how many entries were removed; throws nothing.
int removeDesktopEntries(std::string_view home, const std::filesystem::path& bundlePath);

}  // namespace halyward
