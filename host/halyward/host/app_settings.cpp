#include "halyward/host/app_settings.hpp"

#include "halyward/base/error.hpp"
#include "halyward/config/config_file.hpp"
#include "halyward/host/page_script.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/keycaps.hpp"

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

std::string readableHotkey(std::string_view chord, HotkeyStyle style) {
    std::string text;
    if (style == HotkeyStyle::keycaps) {
        for (const std::string& cap : hotkeyKeycaps(chord)) text += cap;
        return text;
    }
    std::optional<HotkeyChord> parsed;
    try {
        parsed = HotkeyParser::parse(chord);
    } catch (const HalywardError&) {
        // Text that is no chord keeps its pieces, joined as a chord's would be.
        for (const std::string& cap : hotkeyKeycaps(chord)) text += (text.empty() ? "" : "+") + cap;
        return text;
    }
    static constexpr std::pair<HotkeyModifier, std::string_view> words[] = {
        {HotkeyModifier::leader, "Leader"}, {HotkeyModifier::shift, "Shift"},
        {HotkeyModifier::ctrl, "Ctrl"},     {HotkeyModifier::opt, "Alt"},
        {HotkeyModifier::cmd, "Super"},
    };
    for (const auto& [modifier, word] : words) {
        if (parsed->modifiers.count(modifier) != 0) text += std::string(word) + "+";
    }
    // Arrows are words in GTK's labels too; every other key shows its face.
    const std::string& name = parsed->key.canonical();
    const bool arrow = parsed->key.kind() == HotkeyKey::Kind::named &&
                       (name == "left" || name == "right" || name == "up" || name == "down");
    if (arrow) {
        text += static_cast<char>(name[0] - 'a' + 'A');
        text += name.substr(1);
    } else {
        text += hotkeyKeyFace(parsed->key);
    }
    return text;
}

std::string userAgentFor(const AppSettings& settings) {
    return settings.standardUserAgent ? std::string() : customUserAgent();
}

}  // namespace halyward
