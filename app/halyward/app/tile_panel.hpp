#pragma once
// The cheat sheet shown while tile mode is on.

#include "halyward/app/window_system.hpp"
#include "halyward/config/config.hpp"

namespace halyward::detail {

// The 27 tile actions in the panel's sections (focus, move, layout, more), each with its
// bare key and its global chord as this platform spells shortcuts, centred on
// `displayFrame`.
TilePanelContent tilePanelContent(const GeneralConfig& general, const Frame& displayFrame);

}  // namespace halyward::detail
