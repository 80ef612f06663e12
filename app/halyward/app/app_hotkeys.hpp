#pragma once
// What an application's hotkey does: start the app, bring it forward, step through its
// windows, or hide it.

#include "halyward/app/desktop.hpp"
#include "halyward/config/config.hpp"
#include "halyward/hotkeys/focus_action.hpp"

#include <optional>
#include <string_view>

namespace halyward::detail {

struct AppHotkeyStep {
    FocusAction action = FocusAction::launch();
    // The window to focus for `focus` and `cycle`.
    std::optional<WindowId> window;
    bool operator==(const AppHotkeyStep&) const = default;
};

// The step for the hotkey of the application `identity` on `desktop`. The app runs when
// it has a window, and is front-most when the focused window is one of its shown ones.
// Cycling walks the app's shown windows in the order they were made (by id), not in
// stacking order, which changes with every step and would only swap two windows.
AppHotkeyStep appHotkeyStep(const Desktop& desktop, std::string_view identity, bool cycle,
                            bool hideOnRepeat);

// How to start the application `identity`: a web app of `config` also names its bundle
// in the apps folder of `home`.
LaunchRequest launchRequest(const HalywardConfig& config, std::string_view identity,
                            std::string_view home);

}  // namespace halyward::detail
