#include "halyward/app/window_identity.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/system/regular_file.hpp"
#include "halyward/text/text.hpp"
#include "halyward/webapps/bundle_info.hpp"
#include "halyward/webapps/desktop_entry.hpp"

#include <filesystem>

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
    forEachDesktopFile(dataFolders, [&found](const std::string& id, const fs::path& file) {
        std::optional<RegularFile> contents;
        try {
            // Desktop files are small; a huge file or a pipe planted there must not stall
            // the app.
            contents = readRegularFile(file.native(), 256 * 1024);
        } catch (const HalywardError&) {
            return true;
        }
        if (!contents) return true;
        std::optional<DesktopApplication> app = parseDesktopApplication(id, contents->bytes);
        if (!app) return true;
        app->bundleIdentifier = webAppIdentifier(contents->bytes);
        found.push_back(std::move(*app));
        return true;
    });
    return found;
}

}  // namespace halyward
