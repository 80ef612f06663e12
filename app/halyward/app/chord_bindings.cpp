#include "halyward/app/chord_bindings.hpp"

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/effective_hotkeys.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"

#include <string_view>

namespace halyward::detail {

namespace {

// The command behind an effective hotkey's target; none for targets this app leaves to
// others.
std::optional<ChordCommand> commandFor(const std::string& target) {
    if (target == "halyward.tile-mode") return ChordCommand{ChordCommand::Kind::tileMode, {}, {}};
    if (target == "halyward.layout") return ChordCommand{ChordCommand::Kind::layoutCycle, {}, {}};
    if (target == "halyward.agent") return ChordCommand{ChordCommand::Kind::agent, {}, {}};
    if (target == "halyward.new-app") return ChordCommand{ChordCommand::Kind::newApp, {}, {}};
    if (std::string_view(target).starts_with("tile:")) {
        if (auto action = parseTileAction(target)) {
            // A layout number outside 1 to 6 has no layout to apply.
            if (action->kind() == TileAction::Kind::layout &&
                (*action->layoutNumber() < 1 || *action->layoutNumber() > 6)) {
                return std::nullopt;
            }
            return ChordCommand{ChordCommand::Kind::tile, *action, {}};
        }
        return std::nullopt;
    }
    if (target.empty()) return std::nullopt;
    return ChordCommand{ChordCommand::Kind::app, {}, target};
}

}  // namespace

const ChordCommand* ChordBindings::find(const HotkeyChord& chord) const {
    const auto found = byChord.find(chord.canonical());
    return found == byChord.end() ? nullptr : &found->second;
}

const ChordCommand* ChordBindings::findAfterLeader(const HotkeyKey& key) const {
    const auto found = byLeaderKey.find(key.canonical());
    return found == byLeaderKey.end() ? nullptr : &found->second;
}

ChordBindings chordBindings(const HalywardConfig& config) {
    ChordBindings bindings;
    for (const EffectiveHotkey& hotkey : effectiveHotkeys(config)) {
        std::optional<ChordCommand> command = commandFor(hotkey.bundleIdentifier);
        if (!command) continue;
        std::optional<HotkeyChord> chord;
        try {
            chord = HotkeyParser::parse(hotkey.chord);
        } catch (const HalywardError&) {
            continue;  // canonical text always parses; nothing to grab otherwise
        }
        if (chord->modifiers.count(HotkeyModifier::leader) != 0) {
            bindings.byLeaderKey.emplace(chord->key.canonical(), std::move(*command));
            continue;
        }
        // The exit chords only mean something in tile mode, which holds the whole keyboard
        // and reads them there; grabbing them all the time would only take ctrl+opt+escape
        // and ctrl+opt+return from every other program.
        const bool exits = command->action && command->action->kind() == TileAction::Kind::exit;
        if (bindings.byChord.emplace(hotkey.chord, std::move(*command)).second && !exits) {
            bindings.grabbed.push_back(std::move(*chord));
        }
    }
    return bindings;
}

}  // namespace halyward::detail
