#pragma once
// The chord grammar's keys as X keysyms, and the modifier bits a keyboard's mapping gives
// to Alt, Super and the lock keys.

#include "halyward/hotkeys/hotkey_chord.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

namespace halyward::x11 {

/// The keysym of a chord key ("a", "1", "left", "leftbracket", "f5"); none for a name X
/// has no key for.
std::optional<xcb_keysym_t> keysymOf(const HotkeyKey& key);
/// The chord key an unshifted keysym stands for; none for keys the grammar has no name for.
std::optional<HotkeyKey> keyOfKeysym(xcb_keysym_t keysym);
/// The text a keysym types (Latin-1 and Unicode keysyms), empty for the others.
std::string keysymText(xcb_keysym_t keysym);
/// Shift, Control, Caps Lock and the like: keys that are not reported on their own.
bool isModifierKeysym(xcb_keysym_t keysym);

/// The modifier bits of the keyboard as its mapping says today.
struct ModifierMasks {
    std::uint16_t alt = XCB_MOD_MASK_1;
    std::uint16_t super = XCB_MOD_MASK_4;
    std::uint16_t numLock = XCB_MOD_MASK_2;
    std::uint16_t scrollLock = 0;

    /// The modifier state of a chord.
    std::uint16_t chordMask(const HotkeyChord& chord) const;
    /// The bits the chord modifiers use; everything else in an event's state is ignored.
    std::uint16_t relevant() const {
        return XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | alt | super;
    }
    /// Every combination of Num Lock, Caps Lock and Scroll Lock, none first.
    std::vector<std::uint16_t> lockCombinations() const;
};

/// Reads the modifier mapping (one round trip).
ModifierMasks readModifierMasks(xcb_connection_t* connection, xcb_key_symbols_t* symbols);

}  // namespace halyward::x11
