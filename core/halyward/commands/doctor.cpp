#include "halyward/commands/doctor.hpp"

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/tile_keys.hpp"
#include "halyward/text/regex.hpp"
#include "halyward/text/text.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <algorithm>
#include <set>

namespace halyward {

namespace {

DoctorFinding configFinding(std::string message) {
    return {"config", std::move(message), ExitCode::config};
}

/// A chord that does not parse gives a finding that names where it is written.
void checkChord(std::vector<DoctorFinding>& findings, std::string_view where,
                std::string_view chord, bool hasLeader) {
    try {
        const HotkeyChord parsed = HotkeyParser::parse(chord);
        if (!hasLeader && parsed.modifiers.count(HotkeyModifier::leader) > 0) {
            findings.push_back(configFinding(std::string(where) + ": " + text::quoted(chord) +
                                             " uses the leader key, but leader_key is not set."));
        }
    } catch (const HalywardError& error) {
        findings.push_back(configFinding(std::string(where) + ": " + error.message));
    }
}

void checkTile(std::vector<DoctorFinding>& findings, std::string_view where,
               std::string_view tile) {
    if (!parseTileSlot(tile)) {
        findings.push_back(
            configFinding(std::string(where) + ": " + text::quoted(tile) + " is not a tile name."));
    }
}

std::string tableName(std::string_view family, std::string_view name) {
    // Table names that are not bare keys are shown quoted, as they must be in the file.
    const bool bare = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '-' || c == '_';
    });
    return "[" + std::string(family) + "." + (bare ? std::string(name) : text::quoted(name)) + "]";
}

}  // namespace

DoctorFinding doctorFinding(const HalywardError& error) {
    return {error.code, error.message, error.exitCode};
}

std::vector<DoctorFinding> doctorFindings(
    const HalywardConfig& config, std::string_view appsDirectory,
    const std::function<bool(const std::string& path)>& pathExists) {
    std::vector<DoctorFinding> findings;
    const GeneralConfig& general = config.general;

    bool hasLeader = false;
    try {
        hasLeader = HotkeyParser::parseLeader(general.leaderKey).has_value();
    } catch (const HalywardError& error) {
        findings.push_back(configFinding("[general] leader_key: " + error.message));
    }

    checkChord(findings, "[general] tile_mode_hotkey", general.tileModeHotkey, hasLeader);
    if (general.agentHotkeyEnabled) {
        checkChord(findings, "[general] agent_hotkey", general.agentHotkey, hasLeader);
    }
    checkChord(findings, "[general] new_app_hotkey", general.newAppHotkey, hasLeader);
    checkChord(findings, "[general] layout_hotkey", general.layoutHotkey, hasLeader);

    std::set<std::string, std::less<>> actions;
    for (const TileKeyBinding& binding : TileKeys::bindings()) actions.insert(binding.id);
    for (const auto& [action, chord] : general.tileHotkeys) {
        if (actions.count(action) == 0) {
            findings.push_back(configFinding("[tile_hotkeys] " + text::quoted(action) +
                                             " is not a tile action, so its chord does nothing."));
            continue;
        }
        checkChord(findings, "[tile_hotkeys] " + action, chord, hasLeader);
    }

    for (const WebAppRecord& app : config.apps) {
        const std::string where = tableName("apps", app.slug);
        if (app.spec.hotkey && !app.spec.hotkey->empty()) {
            checkChord(findings, where + " hotkey", *app.spec.hotkey, hasLeader);
        }
        if (app.spec.tile && !app.spec.tile->empty())
            checkTile(findings, where + " tile", *app.spec.tile);
    }
    for (const NativeHotkey& hotkey : config.hotkeys) {
        checkChord(findings, "[hotkeys] " + text::quoted(hotkey.chord), hotkey.chord, hasLeader);
    }

    for (const HotkeyConflict& conflict : hotkeyConflicts(config)) {
        findings.push_back(
            {"conflict", "Hotkey " + conflict.chord + ": " + conflict.detail, ExitCode::conflict});
    }

    for (const TileRule& rule : config.rules) {
        const std::string where = tableName("rules", rule.id);
        checkTile(findings, where + " tile", rule.tile);
        if (rule.titlePattern) {
            if (auto reason = titlePatternError(*rule.titlePattern)) {
                findings.push_back(
                    configFinding(where + " title: " + text::quoted(*rule.titlePattern) +
                                  " is not a valid regular expression: " + *reason + "."));
            }
        }
        if (rule.display && *rule.display < 1) {
            findings.push_back(configFinding(where + " display: display numbers start at 1."));
        }
    }
    for (const Layout& layout : config.layouts) {
        const std::string where = tableName("layouts", layout.name);
        for (const LayoutAssignment& assignment : layout.assignments) {
            checkTile(findings, where + " " + assignment.target, assignment.tile);
        }
    }

    for (const WebAppRecord& app : config.apps) {
        const std::optional<std::string> folder = webAppBundleFolder(appsDirectory, app.spec.name);
        if (!folder) {
            findings.push_back(configFinding(tableName("apps", app.slug) +
                                             " name: " + text::quoted(app.spec.name) +
                                             " cannot be the name of an app bundle."));
        } else if (!pathExists || !pathExists(*folder)) {
            findings.push_back({"not_found",
                                "The web app " + text::quoted(app.spec.name) +
                                    " has no app bundle: " + text::quoted(*folder) + " is missing.",
                                ExitCode::notFound});
        }
    }
    return findings;
}

CommandOutput doctorOutput(const std::vector<DoctorFinding>& findings) {
    if (findings.empty()) return {ExitCode::ok, "No problems found.", JSONValue(JSONArray{})};
    std::int32_t worst = ExitCode::ok;
    std::string message;
    JSONArray list;
    list.reserve(findings.size());
    for (const DoctorFinding& finding : findings) {
        worst = std::max(worst, finding.exitCode);
        if (!message.empty()) message += '\n';
        // One finding per line, whatever its text holds.
        for (char c : finding.message) message += (c == '\n' || c == '\r') ? ' ' : c;
        list.emplace_back(JSONObject{{"code", finding.code},
                                     {"exitCode", static_cast<std::int64_t>(finding.exitCode)},
                                     {"message", finding.message}});
    }
    return {worst, std::move(message), JSONValue(std::move(list))};
}

std::optional<std::string> webAppBundleFolder(std::string_view appsDirectory,
                                              std::string_view name) {
    if (name.empty() || name == "." || name == ".." ||
        name.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) {
        return std::nullopt;
    }
    std::string folder(appsDirectory);
    if (!folder.empty() && folder.back() != '/') folder += '/';
    folder.append(name);
    folder += ".app";
    return folder;
}

std::optional<std::string> titlePatternError(std::string_view pattern) {
    const text::Regex compiled(pattern);
    if (compiled.valid()) return std::nullopt;
    return compiled.error();
}

}  // namespace halyward
