#pragma once
// What a key does while tile mode holds the keyboard.

#include "halyward/app/chord_bindings.hpp"
#include "halyward/app/window_system.hpp"

#include <optional>

namespace halyward::detail {

struct TileModeKey {
    enum class Kind {
        // Nothing: tile mode stays on.
        ignore,
        // Leave tile mode.
        leave,
        // Carry out `action` and stay in tile mode.
        action,
        // A chord with ctrl, opt or cmd that is bound to something else (an app hotkey,
        // the layout cycle): run `command` as if it had been pressed outside tile mode.
        command,
    };
    Kind kind = Kind::ignore;
    std::optional<TileAction> action;
    std::optional<ChordCommand> command;
    bool operator==(const TileModeKey&) const = default;
};

// A key with ctrl, opt or cmd is read as a chord: the exit chords and the tile-mode chord
// itself leave, tile chords act. A bare key (shift allowed) goes through the tile-mode
// key table by its key code and the text it types; Return and Esc leave.
TileModeKey tileModeKey(const KeyPress& press, const ChordBindings& bindings);

}  // namespace halyward::detail
