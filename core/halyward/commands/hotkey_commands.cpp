#include "halyward/commands/internal/command_run.hpp"

#include "halyward/base/error.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"
#include "halyward/hotkeys/tile_keys.hpp"
#include "halyward/text/text.hpp"

// The hotkey commands: `hotkey set`, `hotkey unset` and `hotkey list`.

namespace halyward::commands {

namespace {

std::string canonicalChord(std::string_view chord) {
    return HotkeyParser::parse(chord).canonical();
}

// The canonical form of chord text from the file, or none when it does not parse.
std::optional<std::string> canonicalOrNone(std::string_view chord) {
    try {
        return canonicalChord(chord);
    } catch (const HalywardError&) {
        return std::nullopt;
    }
}

// Who holds a chord, in words the user recognises.
std::string describeHolder(const EffectiveHotkey& holder, const HalywardConfig& config) {
    const HotkeySource source = holder.origin();
    switch (source.kind) {
        case HotkeySource::Kind::webApp:
            for (const WebAppRecord& app : config.apps) {
                if (app.slug == source.slug) return "the web app " + text::quoted(app.spec.name);
            }
            return "the web app " + text::quoted(source.slug);
        case HotkeySource::Kind::hotkeysTable: return text::quoted(holder.bundleIdentifier);
        case HotkeySource::Kind::builtin: break;
    }
    if (holder.bundleIdentifier == "halyward.tile-mode") return "Halyward's tile-mode hotkey";
    if (holder.bundleIdentifier == "halyward.agent") return "Halyward's agent hotkey";
    if (holder.bundleIdentifier == "halyward.new-app") return "Halyward's new-app hotkey";
    if (holder.bundleIdentifier == "halyward.layout") return "Halyward's layout hotkey";
    return "the tile chord " + text::quoted(TileKeys::title(holder.bundleIdentifier, holder.chord,
                                                            config.general.tileHotkeys));
}

}  // namespace

bool claimChord(const HalywardConfig& config, std::string_view canonical,
                const std::optional<std::string>& slug, std::string_view bundleIdentifier) {
    for (const EffectiveHotkey& holder : effectiveHotkeys(config)) {
        if (holder.chord != canonical) continue;
        // The same app holding the chord through its web-app table or [hotkeys] is no
        // conflict: the chord already does what was asked.
        const HotkeySource source = holder.origin();
        const bool same =
            (slug && source.kind == HotkeySource::Kind::webApp && source.slug == *slug) ||
            (source.kind != HotkeySource::Kind::builtin &&
             holder.bundleIdentifier == bundleIdentifier);
        if (same) return true;
        throw HalywardError::conflict(std::string(canonical) + " is already used by " +
                                      describeHolder(holder, config) + ".");
    }
    return false;
}

CommandOutput hotkeySet(const CommandRun& run, const Command::HotkeySet& values) {
    const HotkeyChord chord = HotkeyParser::parse(values.chord);
    const std::string canonical = chord.canonical();
    Target target;
    bool unchanged = false;
    std::optional<std::string> replaced;
    run.edit([&](ConfigFile& file) {
        const HalywardConfig config = file.decode();
        target = resolveTarget(values.target, config, run.context.findApplication);
        unchanged = claimChord(config, canonical, target.slug, target.bundleIdentifier);
        if (unchanged) return;
        if (target.slug) {
            std::optional<WebAppRecord> record;
            for (const WebAppRecord& app : config.apps) {
                if (!record && app.slug == *target.slug) record = app;
            }
            if (record->spec.hotkey && !record->spec.hotkey->empty())
                replaced = record->spec.hotkey;
            record->spec.hotkey = canonical;
            file.upsertApp(*record);
        } else {
            file.setNativeHotkey(canonical, target.bundleIdentifier);
        }
    });

    const std::optional<std::string> reservation = SystemHotkeys::reservation(chord);
    std::string message =
        unchanged
            ? canonical + " already brings up " + text::quoted(target.name) + "; nothing changed."
            : canonical + " now brings up " + text::quoted(target.name) + ".";
    if (replaced && !unchanged) message += " It replaces " + *replaced + ".";
    if (reservation) message += " Warning: " + *reservation + " It may not reach Halyward.";
    return success(std::move(message), JSONObject{{"bundleIdentifier", target.bundleIdentifier},
                                                  {"changed", !unchanged},
                                                  {"chord", canonical},
                                                  {"name", target.name},
                                                  {"warning", optionalString(reservation)}});
}

CommandOutput hotkeyUnset(const CommandRun& run, const std::string& typed) {
    const std::string canonical = canonicalChord(typed);
    JSONArray removed;
    std::vector<std::string> names;
    run.edit([&](ConfigFile& file) {
        const HalywardConfig config = file.decode();
        for (const WebAppRecord& app : config.apps) {
            if (!app.spec.hotkey || canonicalOrNone(*app.spec.hotkey) != canonical) continue;
            WebAppRecord record = app;
            record.spec.hotkey.reset();
            file.upsertApp(record);
            removed.emplace_back(app.spec.bundleIdentifier);
            names.push_back(text::quoted(app.spec.name));
        }
        for (const NativeHotkey& hotkey : config.hotkeys) {
            if (canonicalOrNone(hotkey.chord) != canonical) continue;
            file.removeNativeHotkey(hotkey.chord);
            removed.emplace_back(hotkey.bundleIdentifier);
            names.push_back(text::quoted(hotkey.bundleIdentifier));
        }
        if (!names.empty()) return;
        for (const EffectiveHotkey& holder : effectiveHotkeys(config)) {
            if (holder.chord == canonical) {
                throw HalywardError::notFound(canonical + " is " + describeHolder(holder, config) +
                                              ", not an app hotkey. Change it in config.toml.");
            }
        }
        throw HalywardError::notFound("No app hotkey uses " + text::quoted(typed) + ".");
    });
    std::string message = "Removed " + canonical + " from ";
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) message += i + 1 == names.size() ? " and " : ", ";
        message += names[i];
    }
    return success(message + ".",
                   JSONObject{{"chord", canonical}, {"removed", std::move(removed)}});
}

CommandOutput hotkeyList(const CommandRun& run) {
    const HalywardConfig config = run.load().decode();
    JSONArray list;
    std::string message;
    for (const EffectiveHotkey& hotkey : effectiveHotkeys(config)) {
        list.emplace_back(JSONObject{{"bundleIdentifier", hotkey.bundleIdentifier},
                                     {"chord", hotkey.chord},
                                     {"source", hotkey.source}});
        if (!message.empty()) message += '\n';
        message += hotkey.chord + "  " + describeHolder(hotkey, config);
    }
    return success(std::move(message), JSONValue(std::move(list)));
}

}  // namespace halyward::commands
