#pragma once
/// Display forms of chords: keycap texts for the user interface.

#include <string>
#include <string_view>
#include <vector>

#include "halyward/hotkeys/hotkey_chord.hpp"

namespace halyward {

/// The text on the key's cap: a character uppercased ("A"), a glyph or symbol for arrows,
/// brackets and punctuation ("←", "[", ";"), "Space", "Return", "Esc", and otherwise the name
/// with its first character uppercased ("Tab", "F5", "Pageup").
std::string hotkeyKeyFace(const HotkeyKey& key);

/// One cap per part of the chord in `text`: "⌃", "⌥", "⇧", "⌘" or "Leader" for each modifier
/// present, in that order, then the key face. Never fails: text that is not a chord shows
/// its non-empty "+"-separated pieces, trimmed, as they are.
std::vector<std::string> hotkeyKeycaps(std::string_view text);

}  // namespace halyward
