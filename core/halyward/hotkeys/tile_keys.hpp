#pragma once
/// The tile-mode key table: the 27 tile actions with their titles, panel keys and default
/// global chords, the chords in effect after `[tile_hotkeys]`, and the bare-key lookup of
/// the open tile-mode panel.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "halyward/hotkeys/hotkey_chord.hpp"
#include "halyward/tiling/tile_action.hpp"

namespace halyward {

/// The sections of the tile-mode panel, in the order it shows them.
enum class TileKeyGroup { focus, move, layout, more };

inline constexpr std::array<TileKeyGroup, 4> allTileKeyGroups{
    TileKeyGroup::focus, TileKeyGroup::move, TileKeyGroup::layout, TileKeyGroup::more};

/// "focus", "move", "layout" or "more".
std::string_view rawValue(TileKeyGroup group);
/// The group whose raw value is exactly `text`.
std::optional<TileKeyGroup> parseTileKeyGroup(std::string_view text);

/// One row of the tile-mode key table.
struct TileKeyBinding {
    /// The key of the row in `[tile_hotkeys]` ("focus_left", "layout_3", "fill", ...).
    std::string id;
    TileKeyGroup group;
    std::string title;
    /// The short text on the panel's keycap ("←", "H", "3", "[", "Return", "Esc").
    std::string panelLabel;
    /// The bare key that triggers the action while the panel is open.
    HotkeyKey key;
    /// Whether the bare key must be pressed with shift.
    bool shifted;
    TileAction action;
    /// The texts the bare key may type, as a keyboard event reports them.
    std::vector<std::string> characters;
    /// The global chord when `[tile_hotkeys]` does not set one (canonical text).
    std::string defaultChord;
    std::optional<std::string> note;

    bool operator==(const TileKeyBinding&) const = default;
};

/// One row with the chord that is in effect for it.
struct ResolvedTileChord {
    std::string id;
    TileKeyGroup group;
    std::string title;
    std::string panelLabel;
    /// The effective chord, in canonical text.
    std::string chord;
    std::optional<std::string> note;
    /// `action.token()`.
    std::string token;
    TileAction action;

    bool operator==(const ResolvedTileChord&) const = default;
};

namespace TileKeys {

/// The 27 rows, in panel order: focus by arrows and by h/j/k/l, move likewise (shifted),
/// layouts 1 to 6, fill, previous and next display, and the two ways to leave.
const std::vector<TileKeyBinding>& bindings();

/// One entry per binding, in table order. The chord is the override for the binding's id
/// when that override parses as a chord (written back in canonical form), and otherwise
/// the default chord; an invalid override is ignored here and reported by whoever checks
/// the configuration. Overrides may collide with other chords; conflicts are reported
/// separately.
std::vector<ResolvedTileChord> resolved(const std::map<std::string, std::string>& overrides);

/// The title to show for an action token bound to `chord`. Two rows share each focus and
/// move token (arrow and letter), so the chord picks the row; when no row has that chord,
/// the first row with the token gives the title, and an unknown token is shown as it is.
std::string title(std::string_view token, std::string_view chord,
                  const std::map<std::string, std::string>& overrides);

/// The action for a bare key pressed while the panel is open: among the rows whose
/// `shifted` equals `shift`, first by virtual key code, then by the typed characters (as
/// typed, or lowercased). None when nothing matches.
std::optional<TileAction> action(std::uint32_t keyCode, std::string_view characters, bool shift);

}  // namespace TileKeys

}  // namespace halyward
