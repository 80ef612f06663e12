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

/// How a chord is spelled for people: keycap glyphs run together ("⌃⌥M"), as macOS menus
/// show shortcuts, or modifier words joined by "+" in GTK's order ("Ctrl+Alt+M"), as GTK
/// menus show them; opt reads as Alt and cmd as Super there.
enum class HotkeyStyle { keycaps, words };

/// The spelling of the platform the program is built for, so that a chord reads like the
/// menus beside it.
#if defined(__APPLE__)
inline constexpr HotkeyStyle nativeHotkeyStyle = HotkeyStyle::keycaps;
#else
inline constexpr HotkeyStyle nativeHotkeyStyle = HotkeyStyle::words;
#endif

/// A chord as the slim bar and the tile-mode panel show it in `style`; empty for empty
/// text. Text that is not a chord (yet) is shown as its pieces.
std::string readableHotkey(std::string_view chord, HotkeyStyle style = nativeHotkeyStyle);

}  // namespace halyward
