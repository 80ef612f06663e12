#pragma once
/// Reading chord text ("opt+cmd+m", "ctrl+opt+space", "leader+e", "⌥⌘M") into chords.

#include <optional>
#include <set>
#include <string_view>

#include "halyward/hotkeys/hotkey_chord.hpp"

namespace halyward {

/// The one entry point for chord text from the configuration file and the command line.
/// Every failure is a `HalywardError` with the code "usage".
namespace HotkeyParser {

/// Parses chord text. Modifiers may be spelled ctrl/control/ctl, opt/option/alt, shift,
/// cmd/command and leader/hyper, in any order and case, separated by "+"; text that holds
/// any of the glyphs ⌃ ⌥ ⇧ ⌘ is read in glyph form, where every other character belongs to
/// the key.
HotkeyChord parse(std::string_view text);

/// Reads the `leader_key` setting: trimmed and lowercased, empty text means no leader key;
/// anything else must be a key `key(named)` accepts ("caps" gives the Caps Lock key).
std::optional<HotkeyKey> parseLeader(std::string_view text);

/// The key for one already lowercased key piece: aliases (esc, enter, spacebar, arrowleft,
/// arrowright, arrowup, arrowdown, capslock) are replaced, then the 26 key names, "f1" to
/// "f9", a single letter or digit, "[" and "]" are accepted.
HotkeyKey key(std::string_view named);

/// Checks the modifier rules: the leader key stands alone, and any other chord needs at
/// least one modifier. `original` is the user's text, quoted in the message.
void validate(const std::set<HotkeyModifier>& modifiers, const HotkeyKey& key,
              std::string_view original);

}  // namespace HotkeyParser

}  // namespace halyward
