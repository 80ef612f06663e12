#pragma once
// A large, realistic config.toml for benchmarks: the default file followed by `apps`
// web-app tables with the keys a web app can have, a hotkey table, rules and a layout.
// Header-only so that every benchmark program can build the same text.

#include <string>

namespace halyward {

inline const char* defaultConfigForBenchmarks() {
    return R"(
# Halyward keeps your setup in this file and reloads it when you save.
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
}

/// The default file plus `apps` web apps (about 200 bytes each: 5,000 make about 1 MB).
/// The text depends only on `apps`, and it is valid TOML, so other readers accept it too.
inline std::string generatedConfig(int apps) {
    static const char* const words[] = {"mail", "notes", "calendar", "chat", "docs", "music", "maps", "news",
                                        "tasks", "photos", "wiki", "tracker", "forum", "stocks", "weather"};
    constexpr int wordCount = sizeof words / sizeof words[0];
    std::string text = defaultConfigForBenchmarks() + 1;  // without the raw literal's first line break
    text.reserve(text.size() + static_cast<std::size_t>(apps > 0 ? apps : 0) * 230 + 4096);
    std::string hotkeys;
    for (int i = 0; i < apps; ++i) {
        const std::string word = words[i % wordCount];
        const std::string number = std::to_string(i);
        const std::string slug = word + "-" + number;
        text += i % 10 == 0 ? "\n# Added in batch " + std::to_string(i / 10) + ".\n" : "\n";
        text += "[apps." + slug + "]\n";
        text += "url = \"https://" + word + number + ".example.com/start?source=halyward&lang=en\"\n";
        text += "name = \"" + word + " " + number + " \u2014 Caf\u00E9\"\n";
        text += "bundle_id = \"app.halyward.web." + slug + "\"\n";
        if (i % 3 == 0) {
            const std::string chord = "ctrl+opt+shift+" + std::string(1, static_cast<char>('a' + i % 26));
            text += "hotkey = \"" + chord + "\"\n";
            hotkeys += "\"" + chord + number + "\" = { bundle = \"app.halyward.web." + slug + "\" }\n";
        }
        if (i % 4 == 0) text += "tile = \"left-half\"   # tiled on open\n";
        if (i % 7 == 0) text += "user_css = \"\"\"\nbody { font-size: 15px; }\n.sidebar { display: none; }\n\"\"\"\n";
        if (i % 11 == 0) text += "user_js = \"console.log(\\\"" + slug + " \\\\ ready\\\")\"\n";
        if (i % 5 == 0) text += "icon = \"/Users/me/Pictures/Icons/" + slug + ".png\"\n";
        if (i % 6 == 0) text += "standard_user_agent = true\n";
    }
    text += "\n[hotkeys]\n" + hotkeys;
    text += "\n[rules.editor]\nbundle = \"com.microsoft.VSCode\"\ntitle = \"^.*\\\\.txt$\"\ntile = \"left-half\"\ndisplay = 2\n";
    text += "\n[layouts.work]\n\"com.apple.Safari\" = \"left-half\"\n\"com.apple.Terminal\" = \"right-half\"\n";
    return text;
}

}  // namespace halyward
