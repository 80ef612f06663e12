#pragma once
/// Chords that macOS itself uses, so binding them would not work or would break a system
/// shortcut.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "halyward/hotkeys/hotkey_chord.hpp"

namespace halyward {

namespace SystemHotkeys {

/// The reserved-chord table, chord text → reason, in its fixed order. The texts are kept
/// exactly as written, including spellings that are not canonical ("cmd+opt+space",
/// "cmd+opt+esc"); such entries can never match a chord.
const std::vector<std::pair<std::string, std::string>>& reservedChords();

/// "macOS uses this chord." when the chord's canonical text is in the table, else none.
std::optional<std::string> reservation(const HotkeyChord& chord);

}  // namespace SystemHotkeys

}  // namespace halyward
