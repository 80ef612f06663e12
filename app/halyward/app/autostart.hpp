#pragma once
/// Starting with the session: `launch_at_login` decides whether the running app's XDG
/// autostart entry exists. The entry is marked as ours, so a file of the same name that
/// the user or another program wrote is never replaced or removed.

#include <optional>
#include <string>
#include <string_view>

namespace halyward {

/// The autostart entry that starts `executable` (an absolute path) with the session.
std::string autostartEntryText(std::string_view executable);

/// Whether an entry's text is one this program wrote (it carries X-Halyward-Autostart in
/// its [Desktop Entry] group).
bool isOurAutostartEntry(std::string_view entryText);

/// What to do with the autostart file.
enum class AutostartChange {
    /// Nothing: the file is already as wanted, or it is someone else's.
    none,
    /// Write `autostartEntryText` (new, or ours with other text: the executable moved).
    write,
    /// Remove our entry.
    remove,
};

/// The change that makes the file at the autostart path (`current`: its text, none when
/// there is no file) agree with `launchAtLogin`, where `wanted` is the text we write.
AutostartChange autostartChange(bool launchAtLogin, const std::optional<std::string>& current,
                                std::string_view wanted);

/// Reads the file at `path`, decides with `autostartChange` and carries it out (the
/// folder is made when missing). Returns what was done; a file that cannot be read,
/// written or removed leaves `error` set to one sentence and counts as `none`.
AutostartChange applyAutostart(const std::string& path, bool launchAtLogin,
                               std::string_view executable, std::string& error);

}  // namespace halyward
