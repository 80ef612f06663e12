#pragma once
// A large, realistic config.toml for benchmarks: the default file followed by `apps`
// web-app tables with the keys a web app can have, a hotkey table, rules and a layout.
// Header-only so that every benchmark program can build the same text.

#include "halyward/config/config_file.hpp"

#include <string>

namespace halyward {

/// The default file plus `apps` web apps (about 200 bytes each: 5,000 make about 1 MB).
/// The text depends only on `apps`, and it is valid TOML, so other readers accept it too.
inline std::string generatedConfig(int apps) {
    static const char* const words[] = {"mail",  "notes",   "calendar", "chat",   "docs",
                                        "music", "maps",    "news",     "tasks",  "photos",
                                        "wiki",  "tracker", "forum",    "stocks", "weather"};
    constexpr int wordCount = sizeof words / sizeof words[0];
    std::string text(ConfigFile::defaultText());
    text.reserve(text.size() + static_cast<std::size_t>(apps > 0 ? apps : 0) * 230 + 4096);
    std::string hotkeys;
    for (int i = 0; i < apps; ++i) {
        const std::string word = words[i % wordCount];
        const std::string number = std::to_string(i);
        const std::string slug = word + "-" + number;
        text += i % 10 == 0 ? "\n# Added in batch " + std::to_string(i / 10) + ".\n" : "\n";
        text += "[apps." + slug + "]\n";
        text +=
            "url = \"https://" + word + number + ".example.com/start?source=halyward&lang=en\"\n";
        text += "name = \"" + word + " " + number + " \u2014 Caf\u00E9\"\n";
        text += "bundle_id = \"app.halyward.web." + slug + "\"\n";
        if (i % 3 == 0) {
            const std::string chord =
                "ctrl+opt+shift+" + std::string(1, static_cast<char>('a' + i % 26));
            text += "hotkey = \"" + chord + "\"\n";
            hotkeys +=
                "\"" + chord + number + "\" = { bundle = \"app.halyward.web." + slug + "\" }\n";
        }
        if (i % 4 == 0) text += "tile = \"left-half\"   # tiled on open\n";
        if (i % 7 == 0)
            text +=
                "user_css = \"\"\"\nbody { font-size: 15px; }\n.sidebar { display: none; }\n\"\"\"\n";
        if (i % 11 == 0) text += "user_js = \"console.log(\\\"" + slug + " \\\\ ready\\\")\"\n";
        if (i % 5 == 0) text += "icon = \"/Users/me/Pictures/Icons/" + slug + ".png\"\n";
        if (i % 6 == 0) text += "standard_user_agent = true\n";
    }
    text += "\n[hotkeys]\n" + hotkeys;
    text +=
        "\n[rules.editor]\nbundle = \"com.example.editor\"\ntitle = \"^.*\\\\.txt$\"\ntile = \"left-half\"\ndisplay = 2\n";
    text +=
        "\n[layouts.work]\n\"com.example.browser\" = \"left-half\"\n\"com.apple.Terminal\" = \"right-half\"\n";
    return text;
}

}  // namespace halyward
