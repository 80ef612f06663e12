#include "halyward/config/config_file.hpp"

#include "halyward/base/error.hpp"

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

// The model-level edits of the configuration. Each one goes through the document's
// in-place edits, so comments, blank lines, key order and unknown keys survive.

namespace halyward {

namespace {

TOMLValue stringArray(const std::vector<std::string>& strings) {
    TOMLArray array;
    array.reserve(strings.size());
    for (const std::string& s : strings) array.push_back(TOMLValue::string(s));
    return TOMLValue::array(std::move(array));
}

}  // namespace

void ConfigFile::setGeneral(const GeneralConfig& general) {
    document.set({}, "version", TOMLValue::integer(HalywardVersion::configSchema));

    const TOMLPath generalPath{"general"};
    auto boolean = [](bool value) { return TOMLValue::boolean(value); };
    auto string = [](const std::string& value) { return TOMLValue::string(value); };
    std::vector<std::pair<std::string, TOMLValue>> first{
        {"launch_at_login", boolean(general.launchAtLogin)},
        {"check_for_updates", boolean(general.checkForUpdates)},
        {"animate_tiles", boolean(general.animateTiles)},
        {"tile_gap", TOMLValue::number(general.tileGap)},
        {"window_style", TOMLValue::string(std::string(rawValue(general.windowChrome)))},
        {"tile_mode_hotkey", string(general.tileModeHotkey)},
        {"agent_hotkey_enabled", boolean(general.agentHotkeyEnabled)},
        {"agent_hotkey", string(general.agentHotkey)},
        {"new_app_hotkey", string(general.newAppHotkey)},
        {"layout_hotkey", string(general.layoutHotkey)},
        {"cycle_windows", boolean(general.cycleWindows)},
        {"hide_on_repeat", boolean(general.hideOnRepeat)},
        {"leader_key", string(general.leaderKey)},
    };
    document.setKeys(generalPath, std::move(first));

    const TOMLPath tilePath{"tile_hotkeys"};
    document.removeKeysExcept(
        tilePath, [&](const std::string& action) { return general.tileHotkeys.count(action) > 0; });
    std::vector<std::pair<std::string, TOMLValue>> chords;
    chords.reserve(general.tileHotkeys.size());
    for (const auto& [action, chord] : general.tileHotkeys)
        chords.emplace_back(action, string(chord));
    document.setKeys(tilePath, std::move(chords));

    std::vector<std::pair<std::string, TOMLValue>> last{
        {"agent_command", stringArray(general.agentCommand)},
        {"terminal_bundle_id", string(general.terminalBundleIdentifier)},
        {"auto_tile", boolean(general.autoTile)},
        {"onboarding_complete", boolean(general.onboardingComplete)},
    };
    document.setKeys(generalPath, std::move(last));
}

void ConfigFile::upsertApp(const WebAppRecord& record) {
    const TOMLPath table{"apps", record.slug};
    const WebAppSpec& spec = record.spec;
    document.set(table, "url", TOMLValue::string(spec.url));
    document.set(table, "name", TOMLValue::string(spec.name));
    document.set(table, "bundle_id", TOMLValue::string(spec.bundleIdentifier));

    auto setOrRemove = [&](std::string_view key, const std::optional<std::string>& value) {
        if (value && !value->empty()) {
            document.set(table, key, TOMLValue::string(*value));
        } else {
            document.remove(table, key);
        }
    };
    // Empty text is only written over a key the file already has, so a new app's table
    // stays free of keys that carry nothing.
    auto setIfUseful = [&](std::string_view key, const std::string& value) {
        if (!value.empty() || document.hasKey(table, key)) {
            document.set(table, key, TOMLValue::string(value));
        }
    };
    setOrRemove("hotkey", spec.hotkey);
    setOrRemove("tile", spec.tile);
    setIfUseful("user_css", spec.userCSS);
    setIfUseful("user_js", spec.userJS);
    setOrRemove("icon", spec.iconPath);
    if (spec.standardUserAgent || document.hasKey(table, "standard_user_agent")) {
        document.set(table, "standard_user_agent", TOMLValue::boolean(spec.standardUserAgent));
    }
}

void ConfigFile::removeApp(std::string_view slug) {
    document.removeTable({"apps", std::string(slug)});
}

void ConfigFile::setNativeHotkey(std::string_view chord, std::string_view bundleIdentifier) {
    document.set({"hotkeys"}, chord,
                 TOMLValue::table({{"bundle", TOMLValue::string(std::string(bundleIdentifier))}}));
}

void ConfigFile::removeNativeHotkey(std::string_view chord) { document.remove({"hotkeys"}, chord); }

void ConfigFile::upsertRule(const TileRule& rule) {
    const TOMLPath table{"rules", rule.id};
    if (!rule.bundleIdentifier.empty()) {
        document.set(table, "bundle", TOMLValue::string(rule.bundleIdentifier));
    }
    auto setOrRemove = [&](std::string_view key, const std::optional<std::string>& value) {
        if (value && !value->empty()) {
            document.set(table, key, TOMLValue::string(*value));
        } else {
            document.remove(table, key);
        }
    };
    setOrRemove("app", rule.app);
    setOrRemove("title", rule.titlePattern);
    document.set(table, "tile", TOMLValue::string(rule.tile));
    if (rule.display) {
        document.set(table, "display", TOMLValue::integer(*rule.display));
    } else {
        document.remove(table, "display");
    }
}

void ConfigFile::removeRule(std::string_view id) {
    document.removeTable({"rules", std::string(id)});
}

void ConfigFile::upsertLayout(const Layout& layout) {
    const TOMLPath table{"layouts", layout.name};
    // A layout without assignments is still a saved layout, so its table must exist.
    document.ensureTable(table);
    std::unordered_set<std::string_view> targets;
    for (const LayoutAssignment& assignment : layout.assignments) targets.insert(assignment.target);
    document.removeKeysExcept(table,
                              [&](const std::string& key) { return targets.count(key) > 0; });
    document.removeChildTables(table);

    std::vector<std::pair<std::string, TOMLValue>> entries;
    entries.reserve(layout.assignments.size());
    for (const LayoutAssignment& assignment : layout.assignments) {
        entries.emplace_back(assignment.target, TOMLValue::string(assignment.tile));
    }
    document.setKeys(table, std::move(entries));
}

void ConfigFile::setAgents(const AgentConfig& agents) {
    document.setKeys({"agents"}, {{"installed", stringArray(agents.installed)},
                                  {"custom_folders", stringArray(agents.customFolders)}});
}

}  // namespace halyward
