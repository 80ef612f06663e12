#include "halyward/config/config_file.hpp"

#include <cstdio>
#include <cstdlib>

// The file written when none exists. It is parsed once, on first use.

namespace halyward {

namespace {

constexpr std::string_view defaultFileText =
    R"(# Halyward keeps your setup in this file and reloads it when you save.
# Comments stay in place when a value changes.

version = 1

[general]
launch_at_login = false
check_for_updates = true
animate_tiles = true
tile_gap = 0
tile_mode_hotkey = "ctrl+opt+space"
agent_hotkey_enabled = true
agent_hotkey = "ctrl+opt+a"
new_app_hotkey = "ctrl+opt+n"
layout_hotkey = "ctrl+opt+l"
cycle_windows = true
hide_on_repeat = false
# Set leader_key to "caps" for tap-then-a-letter hotkeys.
leader_key = ""
agent_command = []
terminal_bundle_id = "com.apple.Terminal"
auto_tile = false
onboarding_complete = false

# Chords that tile any time. focus_l is ctrl+opt+cmd+l because ctrl+opt+l cycles layouts.
# [ and ] are stored as leftbracket and rightbracket.
[tile_hotkeys]
focus_left = "ctrl+opt+left"
focus_down = "ctrl+opt+down"
focus_up = "ctrl+opt+up"
focus_right = "ctrl+opt+right"
focus_h = "ctrl+opt+h"
focus_j = "ctrl+opt+j"
focus_k = "ctrl+opt+k"
focus_l = "ctrl+opt+cmd+l"
move_left = "ctrl+opt+shift+left"
move_down = "ctrl+opt+shift+down"
move_up = "ctrl+opt+shift+up"
move_right = "ctrl+opt+shift+right"
move_h = "ctrl+opt+shift+h"
move_j = "ctrl+opt+shift+j"
move_k = "ctrl+opt+shift+k"
move_l = "ctrl+opt+shift+l"
layout_1 = "ctrl+opt+1"
layout_2 = "ctrl+opt+2"
layout_3 = "ctrl+opt+3"
layout_4 = "ctrl+opt+4"
layout_5 = "ctrl+opt+5"
layout_6 = "ctrl+opt+6"
fill = "ctrl+opt+f"
previous_display = "ctrl+opt+leftbracket"
next_display = "ctrl+opt+rightbracket"
exit_return = "ctrl+opt+return"
exit_escape = "ctrl+opt+escape"

[agents]
installed = []
custom_folders = []
)";

}  // namespace

std::string_view ConfigFile::defaultText() { return defaultFileText; }

ConfigFile ConfigFile::makeDefault() {
    static const ConfigFile parsed = [] {
        try {
            return ConfigFile(defaultFileText);
        } catch (...) {
            // The template is part of the program; failing to read it is a build defect.
            std::fputs("halyward: the built-in default configuration does not parse\n", stderr);
            std::abort();
        }
    }();
    return parsed;
}

}  // namespace halyward
