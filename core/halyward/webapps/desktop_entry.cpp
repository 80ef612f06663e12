#include "halyward/webapps/desktop_entry.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/atomic_file.hpp"
#include "halyward/text/text.hpp"
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

// Points the link at `target`, through a new link renamed over the old one so that the
// launcher never finds none. Answers the reason when it cannot.
std::optional<std::string> placeLink(const fs::path& link, const fs::path& target) {
    std::error_code error;
    fs::create_directories(link.parent_path(), error);
    const fs::path temporary =
        link.parent_path() / (".halyward-" + UUID::random().uuidString() + ".tmp");
    if (!error) fs::create_symlink(target, temporary, error);
    if (!error) fs::rename(temporary, link, error);
    if (!error) return std::nullopt;
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return "Halyward can't write " + text::quoted(link.string()) + ": " +
           systemReason(error.value());
}

// The link made for the bundle at `bundlePath` under the application id `id`, when
// there is one and it still points at that bundle's host.
bool isOurLink(std::string_view home, std::string_view id, const fs::path& bundlePath) {
    std::error_code error;
    const fs::path target = fs::read_symlink(desktopLauncherLink(home, id), error);
    return !error && target == webHostExecutable(bundlePath);
}

void refreshLauncherCache(const fs::path& folder) {
    // Launchers that read the MIME cache pick up the change at once; without the tool they
    // notice the new file on their own, so its absence is not an error.
    WebBundleWriter::run("update-desktop-database", {folder.string()});
}

}  // namespace

std::string DesktopEntry::text() const {
    const std::string executable =
        program ? program->string() : webHostExecutable(bundlePath).string();
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

fs::path desktopLauncherLink(std::string_view home, std::string_view applicationID) {
    return fs::path(std::string(home)) / ".local" / "share" / "halyward" / "launchers" /
           std::string(applicationID);
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

std::optional<std::string> installDesktopEntry(std::string_view home, const fs::path& bundlePath) {
    // Without a real home folder the entry would land in "/.local"; better none at all.
    if (!fs::path(std::string(home)).is_absolute()) {
        return "there is no home folder to hold its launcher entry";
    }
    const auto info = readBundleInfo(bundlePath);
    const auto identifier = info ? info->string("CFBundleIdentifier") : std::nullopt;
    const auto name = info ? info->string("CFBundleName") : std::nullopt;
    if (!identifier || !name) {
        return "the bundle's Info.plist does not name it, so Halyward can't describe it to "
               "launchers";
    }

    DesktopEntry entry{*name, bundlePath, applicationID(*identifier), std::nullopt};
    std::error_code error;
    const fs::path icon = bundlePath / "Contents" / "Resources" / "AppIcon.png";
    if (fs::is_regular_file(icon, error)) entry.iconPath = fs::absolute(icon, error);

    const fs::path file = desktopEntryPath(home, entry.applicationID);
    if (fs::exists(fs::symlink_status(file, error))) {
        const auto existing = readSmallFile(file);
        if (!existing || !desktopEntryBundle(*existing)) {
            return text::quoted(file.string()) +
                   " is already there and was not written by Halyward, which leaves it alone";
        }
    }
    // GLib's loader checks that Exec's program exists before it turns "%%" into "%", so
    // a program path with "%" in it never loads. A link in Halyward's own folder leads
    // there instead; the host finds its bundle from its real path all the same.
    if (webHostExecutable(bundlePath).string().find('%') != std::string::npos) {
        const fs::path link = desktopLauncherLink(home, entry.applicationID);
        if (link.string().find('%') != std::string::npos) {
            return "the path of its launcher link " + text::quoted(link.string()) +
                   " holds a “%”, which launchers cannot start";
        }
        if (auto why = placeLink(link, webHostExecutable(bundlePath))) return why;
        entry.program = link;
    }
    try {
        AtomicFile::write(entry.text(), file.string(), 0644);
    } catch (const HalywardError& failure) {
        std::string why = failure.message;
        if (!why.empty() && why.back() == '.') why.pop_back();
        return why;
    } catch (const std::exception& failure) {
        return "Halyward can't write " + text::quoted(file.string()) + ": " + failure.what();
    }
    refreshLauncherCache(file.parent_path());
    return std::nullopt;
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
        const std::string id = path.stem().string();
        if (isOurLink(home, id, bundlePath)) fs::remove(desktopLauncherLink(home, id), error);
        if (fs::remove(path, error)) ++removed;
    }
    if (removed > 0) refreshLauncherCache(folder);
    return removed;
}

}  // namespace halyward
