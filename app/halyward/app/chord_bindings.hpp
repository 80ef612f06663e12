#pragma once
// Which chord does what: the chords in effect for a configuration, sorted into those the
// window system grabs and those typed after the leader key.

#include "halyward/config/config.hpp"
#include "halyward/hotkeys/hotkey_chord.hpp"
#include "halyward/tiling/tile_action.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace halyward::detail {

// What one chord does.
struct ChordCommand {
    enum class Kind {
        // Enter tile mode, or leave it when it is on.
        tileMode,
        // The next of layouts 1 to 6 on the focused window's display.
        layoutCycle,
        // One tile action (`action`).
        tile,
        // An application's hotkey (`bundleIdentifier`).
        app,
        // `agent_command` in a terminal.
        agent,
        // The new-app form.
        newApp,
    };
    Kind kind = Kind::tile;
    std::optional<TileAction> action;
    std::string bundleIdentifier;

    bool operator==(const ChordCommand&) const = default;
};

struct ChordBindings {
    // The chords to grab, each once, in the order of `effectiveHotkeys`: neither leader
    // chords nor the exit chords, which tile mode reads while it holds the keyboard.
    std::vector<HotkeyChord> grabbed;
    // Chords without the leader key by canonical text, the exit chords included.
    std::unordered_map<std::string, ChordCommand> byChord;
    // Leader chords by the canonical text of their key ("e" for "leader+e").
    std::unordered_map<std::string, ChordCommand> byLeaderKey;

    // The command of a pressed chord; null when the chord does nothing.
    const ChordCommand* find(const HotkeyChord& chord) const;
    // The command of the key typed after the leader key; null when none.
    const ChordCommand* findAfterLeader(const HotkeyKey& key) const;
};

// The chords of `config`. Where two entries claim one chord the first keeps it, as the
// conflict report says (it names the later one). Text that does not parse is left out;
// the configuration doctor reports it.
ChordBindings chordBindings(const HalywardConfig& config);

}  // namespace halyward::detail
