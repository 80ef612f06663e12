#include "halyward/commands/help_text.hpp"

namespace halyward::HelpText {

std::string_view text() {
    // The tile names, chords and key words below are those the tiling and hotkey
    // modules accept; this text only lists them.
    static constexpr std::string_view kText =
        "halyward — a keyboard-driven tiling window manager and web-app maker\n"
        "\n"
        "Usage:\n"
        "  halyward app add <url> --name <name> [--hotkey <chord>] [--tile <tile>] [--icon <path>]\n"
        "  halyward app list\n"
        "  halyward app remove <name> --yes\n"
        "  halyward hotkey set <chord> <app>\n"
        "  halyward hotkey unset <chord> --yes\n"
        "  halyward hotkey list\n"
        "  halyward tile <app> <tile> [--display <n>]\n"
        "  halyward rule add <app> --tile <tile> [--display <n>] [--title <regex>]\n"
        "  halyward rule remove <app> --yes\n"
        "  halyward layout save <name>\n"
        "  halyward layout apply <name>\n"
        "  halyward layout list\n"
        "  halyward config show\n"
        "  halyward apply\n"
        "  halyward doctor\n"
        "\n"
        "Global flags:\n"
        "  --json            one JSON object on stdout\n"
        "  --yes             confirm a command that removes something\n"
        "  --config <path>   config file (default ~/.config/halyward/config.toml)\n"
        "  --timeout <sec>   seconds to wait for the menu-bar app (default 5)\n"
        "\n"
        "Tiles: left-half, right-half, top-half, bottom-half, left-third, center-third,\n"
        "right-third, left-two-thirds, right-two-thirds, top-left, top-right, bottom-left,\n"
        "bottom-right, fill.\n"
        "\n"
        "Hotkeys use ctrl, opt, shift, and cmd, for example opt+cmd+m or ctrl+opt+space.\n"
        "leader+e means tap the leader key, then e.\n"
        "\n"
        "Tile chords work any time. ctrl+opt+space only opens the cheat sheet.\n"
        "While that panel is open, the bare keys work too.\n"
        "  Focus: ctrl+opt+left, ctrl+opt+down, ctrl+opt+up, ctrl+opt+right,\n"
        "    or ctrl+opt+h, ctrl+opt+j, ctrl+opt+k.\n"
        "    Focus right on L is ctrl+opt+cmd+l, because ctrl+opt+l cycles layouts.\n"
        "  Move the window: add shift, for example ctrl+opt+shift+h.\n"
        "  Layouts: ctrl+opt+1 through ctrl+opt+6.\n"
        "  Fill the screen: ctrl+opt+f.\n"
        "  Previous display: ctrl+opt+[    Next display: ctrl+opt+]\n"
        "  Leave tile mode: ctrl+opt+return or ctrl+opt+escape.\n"
        "Rebind them in [tile_hotkeys] in config.toml. [ and ] are stored as\n"
        "leftbracket and rightbracket.\n";
    return kText;
}

}  // namespace halyward::HelpText
