#include "halyward/app/window_identity.hpp"

#include "halyward/base/error.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/desktop_entry.hpp"

#include <filesystem>
#include <set>
#include <system_error>

namespace halyward {

namespace fs = std::filesystem;

namespace {

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && text::lowercased(a) == text::lowercased(b);
}

/// The claiming entry for `windowClass`, or null.
const DesktopApplication* claimingEntry(const WindowClass& windowClass,
                                        const std::vector<DesktopApplication>& applications) {
    const std::string& name = windowClass.className;
    if (!name.empty()) {
        for (const DesktopApplication& app : applications) {
            if (app.startupWMClass == name) return &app;
        }
        for (const DesktopApplication& app : applications) {
            if (sameIgnoringCase(app.startupWMClass, name)) return &app;
        }
    }
    for (const DesktopApplication& app : applications) {
        if (!app.startupWMClass.empty()) continue;
        if ((!name.empty() && sameIgnoringCase(app.id, name)) ||
            (!windowClass.instance.empty() && sameIgnoringCase(app.id, windowClass.instance))) {
            return &app;
        }
    }
    return nullptr;
}

/// The identifier of the web-app bundle an entry of ours launches, read from the bundle's
/// Info.plist; empty when the entry is not ours or the bundle is unreadable.
std::string webAppIdentifier(std::string_view entryText) {
    const std::optional<std::string> bundle = desktopEntryBundle(entryText);
    if (!bundle) return {};
    const std::optional<BundleInfo> info = readBundleInfo(*bundle);
    if (!info) return {};
    return info->string("CFBundleIdentifier").value_or("");
}

}  // namespace

WindowIdentity windowIdentity(const WindowClass& windowClass,
                              const std::vector<DesktopApplication>& applications) {
    WindowIdentity identity;
    if (const DesktopApplication* app = claimingEntry(windowClass, applications)) {
        identity.appIdentity = app->bundleIdentifier.empty() ? app->id : app->bundleIdentifier;
    } else {
        identity.appIdentity = windowClass.className;
    }
    for (const std::string* name : {&windowClass.className, &windowClass.instance}) {
        if (name->empty()) continue;
        if (identity.appAliases.empty() || identity.appAliases.front() != *name) {
            identity.appAliases.push_back(*name);
        }
    }
    return identity;
}

std::optional<DesktopApplication> parseDesktopApplication(std::string_view id,
                                                          std::string_view entryText) {
    bool inEntry = false;
    bool sawEntry = false;
    DesktopApplication app;
    app.id = std::string(id);
    for (std::size_t start = 0; start < entryText.size();) {
        std::size_t end = entryText.find('\n', start);
        if (end == std::string_view::npos) end = entryText.size();
        const std::string_view line = text::trimBlanks(entryText.substr(start, end - start));
        start = end + 1;
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            if (inEntry) break;
            inEntry = line == "[Desktop Entry]";
            sawEntry = sawEntry || inEntry;
            continue;
        }
        if (!inEntry) continue;
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = text::trimBlanks(line.substr(0, equals));
        const std::string_view value = text::trimBlanks(line.substr(equals + 1));
        if (key == "StartupWMClass") app.startupWMClass = std::string(value);
        if (key == "Hidden" && value == "true") return std::nullopt;
    }
    if (!sawEntry) return std::nullopt;
    return app;
}

std::vector<DesktopApplication> readDesktopApplications(
    const std::vector<std::string>& dataFolders) {
    std::vector<DesktopApplication> found;
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
            if (!seenIds.insert(id).second) continue;
            std::optional<RegularFile> contents;
            try {
                // Desktop files are small; a huge file or a pipe planted there must not
                // stall the app.
                contents = readRegularFile(file.native(), 256 * 1024);
            } catch (const HalywardError&) {
                continue;
            }
            if (!contents) continue;
            std::optional<DesktopApplication> app = parseDesktopApplication(id, contents->bytes);
            if (!app) continue;
            app->bundleIdentifier = webAppIdentifier(contents->bytes);
            found.push_back(std::move(*app));
        }
    }
    return found;
}

}  // namespace halyward
