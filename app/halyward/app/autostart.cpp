#include "halyward/app/autostart.hpp"

#include "halyward/system/atomic_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/desktop_entry.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace halyward {

namespace {

namespace fs = std::filesystem;

constexpr const char* kMarkKey = "X-Halyward-Autostart";
// An entry is a few hundred bytes; a larger file at our path is not ours and is left
// unread.
constexpr std::uintmax_t kMaxEntryBytes = 64 * 1024;

}  // namespace

std::string autostartEntryText(std::string_view executable) {
    std::string out = "[Desktop Entry]\nType=Application\nName=Halyward\n";
    out += "Comment=Tiles windows and runs web apps from the keyboard\n";
    out += "Exec=" + desktopEntryEscaped(desktopExecArgument(executable)) + "\n";
    out += "Icon=app.halyward.Halyward\n";
    out += "Terminal=false\n";
    out += "NoDisplay=true\n";
    out += "X-GNOME-Autostart-enabled=true\n";
    out += std::string(kMarkKey) + "=true\n";
    return out;
}

bool isOurAutostartEntry(std::string_view entryText) {
    return desktopEntryValue(entryText, kMarkKey).has_value();
}

AutostartChange autostartChange(bool launchAtLogin, const std::optional<std::string>& current,
                                std::string_view wanted) {
    if (current && !isOurAutostartEntry(*current)) return AutostartChange::none;
    if (!launchAtLogin) return current ? AutostartChange::remove : AutostartChange::none;
    return current == wanted ? AutostartChange::none : AutostartChange::write;
}

AutostartChange applyAutostart(const std::string& path, bool launchAtLogin,
                               std::string_view executable, std::string& error) {
    std::error_code failure;
    std::optional<std::string> current;
    const fs::file_status status = fs::symlink_status(path, failure);
    if (fs::exists(status)) {
        // Anything but a small regular file (a link, a folder, a large file) is someone
        // else's: read as foreign text so that it is never touched.
        if (!fs::is_regular_file(status) || fs::file_size(path, failure) > kMaxEntryBytes) {
            current = std::string();
        } else {
            std::ifstream in(path, std::ios::binary);
            if (!in) {
                error = "Cannot read the autostart entry " + text::quoted(path) + ".";
                return AutostartChange::none;
            }
            current = std::string(std::istreambuf_iterator<char>(in), {});
        }
    }
    const std::string wanted = autostartEntryText(executable);
    const AutostartChange change = autostartChange(launchAtLogin, current, wanted);
    try {
        if (change == AutostartChange::write) AtomicFile::write(wanted, path, 0644);
    } catch (const std::exception& what) {
        error = "Cannot write the autostart entry " + text::quoted(path) + ": " + what.what();
        return AutostartChange::none;
    }
    if (change == AutostartChange::remove && !fs::remove(path, failure) && failure) {
        error = "Cannot remove the autostart entry " + text::quoted(path) + ": " +
                failure.message() + ".";
        return AutostartChange::none;
    }
    return change;
}

}  // namespace halyward
