#include "halyward/webapps/desktop_entry.hpp"

#include "halyward/system/atomic_file.hpp"
#include "halyward/webapps/application_id.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/bundle_plan.hpp"
#include "halyward/webapps/bundle_writer.hpp"

#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

namespace halyward {

namespace {

namespace fs = std::filesystem;

constexpr const char* kBundleKey = "X-Halyward-Bundle";
// Entries are a few hundred bytes; anything much larger in the folder is not one of ours
// and is not worth reading.
constexpr std::uintmax_t kMaxEntryBytes = 64 * 1024;

std::string unescaped(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (value[++i]) {
            case 's': out += ' '; break;
            case 'n': out += '\n'; break;
            case 't': out += '\t'; break;
            case 'r': out += '\r'; break;
            case '\\': out += '\\'; break;
            default: out += '\\'; out += value[i];
        }
    }
    return out;
}

std::optional<std::string> readSmallFile(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kMaxEntryBytes || error) {
        return std::nullopt;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void refreshLauncherCache(const fs::path& folder) {
    // Launchers that read the MIME cache pick up the change at once; without the tool they
    // notice the new file on their own, so its absence is not an error.
    WebBundleWriter::run("update-desktop-database", {folder.string()});
}

}  // namespace

std::string DesktopEntry::text() const {
    const std::string executable = webHostExecutable(bundlePath).string();
    std::string out = "[Desktop Entry]\nType=Application\n";
    out += "Name=" + desktopEntryEscaped(name) + "\n";
    out += "Exec=" + desktopEntryEscaped(desktopExecArgument(executable)) + "\n";
    out += "Icon=" + (iconPath ? desktopEntryEscaped(iconPath->string()) : "web-browser") + "\n";
    out += "StartupWMClass=" + desktopEntryEscaped(applicationID) + "\n";
    out += "Categories=Network;WebBrowser;\n";
    out += "Terminal=false\n";
    out += std::string(kBundleKey) + "=" + desktopEntryEscaped(bundlePath.string()) + "\n";
    return out;
}

fs::path desktopEntryFolder(std::string_view home) {
    return fs::path(std::string(home)) / ".local" / "share" / "applications";
}

fs::path desktopEntryPath(std::string_view home, std::string_view applicationID) {
    return desktopEntryFolder(home) / (std::string(applicationID) + ".desktop");
}

std::string desktopEntryEscaped(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) {
        switch (value[i]) {
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            case '\r': out += "\\r"; break;
            // Leading blanks would be taken for the blank around "=" and dropped.
            case ' ': out += (i == 0 ? "\\s" : " "); break;
            default: out += value[i];
        }
    }
    return out;
}

std::string desktopExecArgument(std::string_view argument) {
    std::string out = "\"";
    for (const char c : argument) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') out += '\\';
        if (c == '%') out += '%';
        out += c;
    }
    out += '"';
    return out;
}

std::optional<std::string> desktopEntryBundle(std::string_view entryText) {
    return desktopEntryValue(entryText, kBundleKey);
}

std::optional<std::string> desktopEntryValue(std::string_view entryText, std::string_view wanted) {
    bool inMainGroup = false;
    std::size_t start = 0;
    while (start < entryText.size()) {
        std::size_t end = entryText.find('\n', start);
        if (end == std::string_view::npos) end = entryText.size();
        std::string_view line = entryText.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (!line.empty() && line.front() == '[') {
            inMainGroup = line == "[Desktop Entry]";
            continue;
        }
        if (!inMainGroup) continue;
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view key = line.substr(0, equals);
        while (!key.empty() && key.back() == ' ') key.remove_suffix(1);
        if (key != wanted) continue;
        std::string_view value = line.substr(equals + 1);
        while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
        return unescaped(value);
    }
    return std::nullopt;
}

bool installDesktopEntry(std::string_view home, const fs::path& bundlePath) {
    // Without a real home folder the entry would land in "/.local"; better none at all.
    if (!fs::path(std::string(home)).is_absolute()) return false;
    const auto info = readBundleInfo(bundlePath);
    if (!info) return false;
    const auto identifier = info->string("CFBundleIdentifier");
    const auto name = info->string("CFBundleName");
    if (!identifier || !name) return false;

    DesktopEntry entry{*name, bundlePath, applicationID(*identifier), std::nullopt};
    std::error_code error;
    const fs::path icon = bundlePath / "Contents" / "Resources" / "AppIcon.png";
    if (fs::is_regular_file(icon, error)) entry.iconPath = fs::absolute(icon, error);

    const fs::path file = desktopEntryPath(home, entry.applicationID);
    if (fs::exists(fs::symlink_status(file, error))) {
        const auto existing = readSmallFile(file);
        if (!existing || !desktopEntryBundle(*existing)) return false;
    }
    try {
        AtomicFile::write(entry.text(), file.string(), 0644);
    } catch (const std::exception&) {
        return false;
    }
    refreshLauncherCache(file.parent_path());
    return true;
}

int removeDesktopEntries(std::string_view home, const fs::path& bundlePath) {
    if (!fs::path(std::string(home)).is_absolute()) return 0;
    const fs::path folder = desktopEntryFolder(home);
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) return 0;
    // Collected first: removing files while reading the folder may skip entries.
    std::vector<fs::path> ours;
    for (const fs::directory_entry& entry : entries) {
        if (entry.path().extension() != ".desktop") continue;
        const auto text = readSmallFile(entry.path());
        if (text && desktopEntryBundle(*text) == bundlePath.string()) ours.push_back(entry.path());
    }
    int removed = 0;
    for (const fs::path& path : ours) {
        if (fs::remove(path, error)) ++removed;
    }
    if (removed > 0) refreshLauncherCache(folder);
    return removed;
}

}  // namespace halyward
