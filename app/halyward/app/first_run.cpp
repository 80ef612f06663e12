#include "halyward/app/first_run.hpp"

#include "halyward/hotkeys/keycaps.hpp"

namespace halyward {

namespace {

// One chord line; a chord that is switched off or empty says how to get it back.
std::string chordLine(const std::string& chord, std::string_view what, std::string_view key) {
    const std::string readable = chord.empty() ? std::string() : readableHotkey(chord);
    if (readable.empty()) return std::string(what) + ": none (set " + std::string(key) + ")\n";
    return readable + "  " + std::string(what) + "\n";
}

}  // namespace

std::string firstRunText(const GeneralConfig& general, bool trayHostFound) {
    std::string text = "Halyward is running. The chords that matter:\n\n";
    text += chordLine(general.tileModeHotkey,
                      "tile mode: then arrows or H J K L to focus, with Shift to move, 1 to 6 "
                      "for layouts, Esc to leave",
                      "tile_mode_hotkey");
    text += chordLine(general.layoutHotkey, "the next layout of the windows on this display",
                      "layout_hotkey");
    text += chordLine(general.newAppHotkey, "a new web app from any site", "new_app_hotkey");
    text += "\n";
    text += trayHostFound
                ? "Halyward's menu is in the tray: layouts, web apps, start at login and more."
                : "No tray was found on this desktop, so Halyward shows no menu here; everything "
                  "is in ~/.config/halyward/config.toml and the halyward command.";
    return text;
}

}  // namespace halyward
