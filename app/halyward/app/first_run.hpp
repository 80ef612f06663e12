#pragma once
/// The first-run window: shown once, while `onboarding_complete` is false, with the chords
/// that matter and whether the desktop shows Halyward's tray menu.

#include "halyward/config/config.hpp"

#include <string>

namespace halyward {

/// The window's text for `general`, spelling chords as this platform does.
std::string firstRunText(const GeneralConfig& general, bool trayHostFound);

}  // namespace halyward
