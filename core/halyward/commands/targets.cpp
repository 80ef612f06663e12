#include "halyward/commands/targets.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_info.hpp"

#include <filesystem>
#include <set>
#include <system_error>

namespace halyward {

namespace fs = std::filesystem;

namespace {

/// The first record whose field (chosen by `field`) equals `word`, exactly or else
/// ignoring case.
template <class Field>
const WebAppRecord* matchRecord(const HalywardConfig& config, std::string_view word, Field field) {
    for (const WebAppRecord& record : config.apps) {
        if (field(record) == word) return &record;
    }
    const std::string folded = text::lowercased(word);
    for (const WebAppRecord& record : config.apps) {
        if (text::lowercased(field(record)) == folded) return &record;
    }
    return nullptr;
}

/// The `Name=` of the `[Desktop Entry]` group, or none when the file is hidden or has
/// no name. Reads at most the first 256 KiB: desktop files are small, and a huge file in
/// an applications folder must not stall a command, nor a named pipe planted there.
std::optional<std::string> desktopEntryName(const fs::path& file) {
    std::optional<RegularFile> contents;
    try {
        contents = readRegularFile(file.native(), 256 * 1024);
    } catch (const HalywardError&) {
        return std::nullopt;  // not a desktop file, whatever it is
    }
    if (!contents) return std::nullopt;
    const std::string_view bytes = contents->bytes;
    bool inEntry = false;
    std::optional<std::string> name;
    for (std::size_t start = 0; start < bytes.size();) {
        std::size_t end = bytes.find('\n', start);
        if (end == std::string_view::npos) end = bytes.size();
        const std::string_view trimmed = text::trimBlanks(bytes.substr(start, end - start));
        start = end + 1;
        if (trimmed.empty() || trimmed.front() == '#') continue;
        if (trimmed.front() == '[') {
            if (inEntry) break;
            inEntry = trimmed == "[Desktop Entry]";
            continue;
        }
        if (!inEntry) continue;
        const std::size_t equals = trimmed.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = text::trimBlanks(trimmed.substr(0, equals));
        const std::string_view value = text::trimBlanks(trimmed.substr(equals + 1));
        if (key == "Name" && !name) name = std::string(value);
        if (key == "Hidden" && value == "true") return std::nullopt;
    }
    return name;
}

std::optional<InstalledApplication> bundleAt(const fs::path& bundle) {
    const std::optional<BundleInfo> info = readBundleInfo(bundle);
    if (!info) return std::nullopt;
    std::optional<std::string> identifier = info->string("CFBundleIdentifier");
    if (!identifier || identifier->empty()) return std::nullopt;
    std::optional<std::string> name = info->string("CFBundleDisplayName");
    if (!name || name->empty()) name = info->string("CFBundleName");
    if (!name || name->empty()) name = bundle.stem().string();
    return InstalledApplication{*name, *identifier};
}

}  // namespace

bool looksLikeBundleIdentifier(std::string_view word) {
    if (word.empty() || word.find('.') == std::string_view::npos) return false;
    if (word.front() == '.' || word.back() == '.' || word.find("..") != std::string_view::npos) {
        return false;
    }
    for (std::size_t pos = 0; pos < word.size();) {
        const text::Scalar scalar = text::decodeAt(word, pos);
        if (scalar.value == '/' || scalar.value < 0x20 || scalar.value == 0x7F ||
            text::isWhitespace(scalar.value)) {
            return false;
        }
        pos += scalar.length;
    }
    return true;
}

std::optional<WebAppRecord> findWebApp(const HalywardConfig& config, std::string_view word) {
    if (auto* byName = matchRecord(config, word, [](const WebAppRecord& r) -> const std::string& {
            return r.spec.name;
        })) {
        return *byName;
    }
    if (auto* bySlug = matchRecord(
            config, word, [](const WebAppRecord& r) -> const std::string& { return r.slug; })) {
        return *bySlug;
    }
    if (auto* byBundle = matchRecord(config, word, [](const WebAppRecord& r) -> const std::string& {
            return r.spec.bundleIdentifier;
        })) {
        return *byBundle;
    }
    return std::nullopt;
}

Target resolveTarget(std::string_view word, const HalywardConfig& config,
                     const ApplicationLookup& lookup) {
    const std::string_view trimmed = text::trim(word);
    if (auto record = findWebApp(config, trimmed)) {
        return {Target::Kind::webApp, record->spec.bundleIdentifier, record->spec.name,
                record->slug};
    }
    if (looksLikeBundleIdentifier(trimmed)) {
        return {Target::Kind::bundleIdentifier, std::string(trimmed), std::string(trimmed),
                std::nullopt};
    }
    if (lookup && !trimmed.empty()) {
        if (auto application = lookup(trimmed)) {
            return {Target::Kind::installedApplication, application->bundleIdentifier,
                    application->name, std::nullopt};
        }
    }
    throw HalywardError::notFound("No web app or application is called " + text::quoted(word) +
                                  ". Use a web app's name, an application's name or a bundle "
                                  "identifier such as com.apple.Safari.");
}

void forEachDesktopFile(
    const std::vector<std::string>& dataFolders,
    const std::function<bool(const std::string& id, const fs::path& file)>& visit) {
    std::set<std::string> seenIds;
    for (const std::string& folder : dataFolders) {
        const fs::path applications = fs::path(folder) / "applications";
        std::error_code error;
        fs::recursive_directory_iterator it(applications,
                                            fs::directory_options::skip_permission_denied, error);
        if (error) continue;
        for (const fs::recursive_directory_iterator end; it != end; it.increment(error)) {
            if (error) break;
            // Links to folders could loop; desktop files live at most a few levels down.
            if (it.depth() > 4) {
                it.disable_recursion_pending();
                continue;
            }
            const fs::path& file = it->path();
            if (file.extension() != ".desktop" || !it->is_regular_file(error)) continue;
            std::string id = fs::relative(file, applications, error).replace_extension().string();
            if (error) continue;
            for (char& c : id) {
                if (c == '/') c = '-';
            }
            // An earlier folder's file with the same id hides this one, as desktops do.
            if (!seenIds.insert(id).second) continue;
            if (!visit(id, file)) return;
        }
    }
}

std::optional<InstalledApplication> findDesktopApplication(
    std::string_view name, const std::vector<std::string>& dataFolders) {
    const std::string wanted = text::lowercased(text::trim(name));
    if (wanted.empty()) return std::nullopt;
    std::optional<InstalledApplication> found;
    forEachDesktopFile(dataFolders, [&](const std::string& id, const fs::path& file) {
        const std::optional<std::string> entryName = desktopEntryName(file);
        if (entryName && text::lowercased(*entryName) == wanted) {
            found = InstalledApplication{*entryName, id};
        }
        return !found;
    });
    return found;
}

std::vector<std::string> desktopDataFolders(std::string_view home, std::string_view xdgDataHome,
                                            std::string_view xdgDataDirs) {
    std::vector<std::string> folders;
    folders.push_back(xdgDataHome.empty() ? std::string(home) + "/.local/share"
                                          : std::string(xdgDataHome));
    if (xdgDataDirs.empty()) xdgDataDirs = "/usr/local/share:/usr/share";
    while (!xdgDataDirs.empty()) {
        const std::size_t colon = xdgDataDirs.find(':');
        const std::string_view part = xdgDataDirs.substr(0, colon);
        if (!part.empty()) folders.emplace_back(part);
        if (colon == std::string_view::npos) break;
        xdgDataDirs.remove_prefix(colon + 1);
    }
    return folders;
}

std::optional<InstalledApplication> findBundleApplication(
    std::string_view name, const std::vector<std::string>& applicationFolders) {
    const std::string wanted = text::lowercased(text::trim(name)) + ".app";
    if (wanted == ".app") return std::nullopt;
    for (const std::string& folder : applicationFolders) {
        std::error_code error;
        for (fs::directory_iterator
                 it(folder, fs::directory_options::skip_permission_denied, error),
             end;
             !error && it != end; it.increment(error)) {
            const std::string entry = it->path().filename().string();
            if (text::lowercased(entry) == wanted) {
                if (auto found = bundleAt(it->path())) return found;
            }
        }
    }
    return std::nullopt;
}

std::vector<std::string> bundleApplicationFolders(std::string_view home) {
    return {"/Applications", "/Applications/Utilities", "/System/Applications",
            "/System/Applications/Utilities", std::string(home) + "/Applications"};
}

}  // namespace halyward
