#pragma once
/// macOS virtual key codes and Carbon modifier masks for registering global hotkeys.

#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "halyward/hotkeys/hotkey_chord.hpp"

namespace halyward {

/// Lookup tables from keys to macOS virtual key codes, built once on first use.
namespace MacKeyCodes {

/// The virtual key code of `key`: letters and digits by their lowercased character, the 26
/// named keys by name, and "f1" to "f20" by the function-key table. None for anything else.
std::optional<std::uint32_t> code(const HotkeyKey& key);

/// The Carbon event-modifier mask: ctrl 0x1000, opt 0x800, shift 0x200, cmd 0x100; the
/// leader key adds nothing.
std::uint32_t carbonModifiers(const std::set<HotkeyModifier>& modifiers);

/// The 26 key names, in table order; also exactly the names the chord parser accepts
/// besides "f1" to "f9".
const std::vector<std::string_view>& keyNames();

}  // namespace MacKeyCodes

}  // namespace halyward
