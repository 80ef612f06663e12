#include "halyward/host/app_settings.hpp"

#include "halyward/base/error.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/host/page_script.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"

#include <optional>
#include <utility>
#include "halyward/system/paths.hpp"

namespace halyward {

const WebAppRecord* matchingWebApp(const HalywardConfig& config, std::string_view slug,
                                   std::string_view bundleIdentifier) {
    // A bundle without "HWSlug" or "CFBundleIdentifier" reads them as empty text, and a
    // record written without a bundle identifier has an empty one too: empty must not
    // match empty, or such an app would take another app's style sheet and script.
    for (const WebAppRecord& record : config.apps) {
        if (!slug.empty() && record.slug == slug) return &record;
        if (!bundleIdentifier.empty() && record.spec.bundleIdentifier == bundleIdentifier) {
            return &record;
        }
    }
    return nullptr;
}

AppSettings appSettings(const HalywardConfig& config, std::string_view slug,
                        std::string_view bundleIdentifier) {
    AppSettings settings;
    settings.chrome = config.general.windowChrome;
    const WebAppRecord* record = matchingWebApp(config, slug, bundleIdentifier);
    if (record != nullptr) {
        settings.customCSS = record->spec.userCSS;
        settings.customScript = record->spec.userJS;
        settings.standardUserAgent = record->spec.standardUserAgent;
        // configuredHotkey looks apps up by bundle identifier only; a record found by its
        // slug (a bundle whose identifier was changed, or a record that never stored one)
        // still shows the hotkey the user gave it.
        if (record->spec.hotkey && !record->spec.hotkey->empty()) {
            settings.hotkey = *record->spec.hotkey;
        }
    }
    if (settings.hotkey.empty() && !bundleIdentifier.empty()) {
        settings.hotkey = configuredHotkey(config, bundleIdentifier);
    }
    return settings;
}

HalywardConfig loadHostConfig(std::string_view home) {
    // The host shows no error for its configuration: whatever goes wrong reading or
    // decoding it (a folder in its place, bad TOML, no permission) leaves the defaults.
    try {
        return ConfigFile::load(HalywardPaths::configFile(home)).decode();
    } catch (...) {
        return HalywardConfig{};
    }
}

std::string userAgentFor(const AppSettings& settings) {
    return settings.standardUserAgent ? std::string() : customUserAgent();
}

}  // namespace halyward
