#pragma once
// Keys of the chord grammar as macOS virtual key codes and back, and the Quartz event
// flags of the chord modifiers.

#import <ApplicationServices/ApplicationServices.h>

#include "halyward/app/window_system.hpp"

#include <cstdint>
#include <optional>

namespace halyward::mac {

/// The chord key on the key with virtual key code `code`, read back through the same table
/// the hot keys are registered from; none for a key the grammar has no name for.
std::optional<HotkeyKey> keyOfCode(std::int64_t code);

/// What a key event says: its chord key, the text it types with its modifiers (empty for
/// keys that type nothing, such as arrows and Return) and its modifiers.
KeyPress keyPressOf(CGEventRef event);

}  // namespace halyward::mac
