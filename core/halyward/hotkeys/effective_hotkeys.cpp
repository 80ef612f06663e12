#include "halyward/hotkeys/effective_hotkeys.hpp"

#include <optional>
#include <unordered_set>
#include <utility>

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"
#include "halyward/hotkeys/tile_keys.hpp"

namespace halyward {

namespace {

constexpr std::string_view webAppPrefix = "app:";
constexpr std::string_view hotkeysTableText = "hotkeys";
constexpr std::string_view builtinText = "builtin";

std::optional<HotkeyChord> parsedChord(std::string_view text) {
    try {
        return HotkeyParser::parse(text);
    } catch (const HalywardError&) {
        return std::nullopt;
    }
}

void append(std::vector<EffectiveHotkey>& out, std::string_view chordText,
            std::string bundleIdentifier, std::string source) {
    if (auto chord = parsedChord(chordText)) {
        out.push_back(
            EffectiveHotkey{chord->canonical(), std::move(bundleIdentifier), std::move(source)});
    }
}

}  // namespace

HotkeySource HotkeySource::decode(std::string_view source) {
    if (source.starts_with(webAppPrefix)) {
        return {Kind::webApp, std::string(source.substr(webAppPrefix.size()))};
    }
    if (source == hotkeysTableText) return {Kind::hotkeysTable, {}};
    return {Kind::builtin, {}};
}

std::string HotkeySource::encode() const {
    switch (kind) {
        case Kind::webApp: return std::string(webAppPrefix) + slug;
        case Kind::hotkeysTable: return std::string(hotkeysTableText);
        case Kind::builtin: break;
    }
    return std::string(builtinText);
}

std::vector<EffectiveHotkey> effectiveHotkeys(const HalywardConfig& config) {
    std::vector<EffectiveHotkey> out;
    for (const WebAppRecord& app : config.apps) {
        if (app.spec.hotkey && !app.spec.hotkey->empty()) {
            append(out, *app.spec.hotkey, app.spec.bundleIdentifier,
                   HotkeySource{HotkeySource::Kind::webApp, app.slug}.encode());
        }
    }
    for (const NativeHotkey& hotkey : config.hotkeys) {
        append(out, hotkey.chord, hotkey.bundleIdentifier,
               HotkeySource{HotkeySource::Kind::hotkeysTable, {}}.encode());
    }
    const GeneralConfig& general = config.general;
    const std::string builtin = HotkeySource{}.encode();
    append(out, general.tileModeHotkey, "halyward.tile-mode", builtin);
    if (general.agentHotkeyEnabled) append(out, general.agentHotkey, "halyward.agent", builtin);
    append(out, general.newAppHotkey, "halyward.new-app", builtin);
    append(out, general.layoutHotkey, "halyward.layout", builtin);
    for (const ResolvedTileChord& tile : TileKeys::resolved(general.tileHotkeys)) {
        append(out, tile.chord, tile.token, builtin);
    }
    return out;
}

std::vector<HotkeyConflict> hotkeyConflicts(const HalywardConfig& config) {
    std::vector<HotkeyConflict> out;
    std::unordered_set<std::string> seen;
    for (const EffectiveHotkey& entry : effectiveHotkeys(config)) {
        // The first holder of a chord keeps it; only later ones are reported.
        if (!seen.insert(entry.chord).second) {
            out.push_back(HotkeyConflict{entry.chord, entry.chord + " is already used."});
        }
        if (auto chord = parsedChord(entry.chord)) {
            if (auto reason = SystemHotkeys::reservation(*chord)) {
                out.push_back(HotkeyConflict{entry.chord, std::move(*reason)});
            }
        }
    }
    return out;
}

std::string configuredHotkey(const HalywardConfig& config, std::string_view bundleIdentifier) {
    for (const WebAppRecord& app : config.apps) {
        if (app.spec.bundleIdentifier != bundleIdentifier) continue;
        if (app.spec.hotkey && !app.spec.hotkey->empty()) return *app.spec.hotkey;
        // Only the first web app with this identifier counts, hotkey or not.
        break;
    }
    for (const NativeHotkey& hotkey : config.hotkeys) {
        if (hotkey.bundleIdentifier == bundleIdentifier) return hotkey.chord;
    }
    return "";
}

}  // namespace halyward
