#include "halyward/commands/command_parser.hpp"
#include "halyward/commands/help_text.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include "support/thrown.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace halyward;

namespace {

using Args = std::vector<std::string>;

Invocation withCommand(Command command, bool json = false, bool yes = false,
                       std::optional<std::string> configPath = std::nullopt, double timeout = 5.0) {
    return {json, yes, std::move(configPath), timeout, std::move(command)};
}

}  // namespace

TEST(command_parser, reads_commands_and_their_values) {
    struct Case {
        Args arguments;
        Command command;
    };
    const Case cases[] = {
        {{}, Command::help()},
        {{"help", "app"}, Command::help()},
        {{"version", "extra"}, Command::version()},
        {{"ping"}, Command::ping()},
        {{"apply"}, Command::apply()},
        {{"config", "apply"}, Command::apply()},
        {{"config", "show"}, Command::configShow()},
        {{"app", "add", "--name", "Mail", "https://mail.example"},
         Command::appAdd("https://mail.example", "Mail")},
        {{"app", "add", "U", "--name=Mail", "--hotkey", "cmd+m", "--tile=fill", "--icon", "i.png",
          "--css", "a.css", "--js", "b.js", "--display", "0"},
         Command::appAdd("U", "Mail", "cmd+m", "fill", "i.png", "a.css", "b.js")},
        {{"app", "add", "U"}, Command::appAdd("U")},
        {{"app", "add", "U", "--name="}, Command::appAdd("U", "")},
        {{"app", "add", "U", "--name", "A", "--name", "B"}, Command::appAdd("U", "B")},
        {{"app", "remove", "Mail"}, Command::appRemove("Mail")},
        {{"hotkey", "set", "opt+cmd+m", "Mail", "more"}, Command::hotkeySet("opt+cmd+m", "Mail")},
        {{"hotkey", "unset", "opt+cmd+m"}, Command::hotkeyUnset("opt+cmd+m")},
        {{"hotkey", "list"}, Command::hotkeyList()},
        {{"tile", "Safari", "NOT-A-TILE", "--display", "+2"},
         Command::tile("Safari", "NOT-A-TILE", 2)},
        {{"tile", "S", "fill", "--display", "9223372036854775807"},
         Command::tile("S", "fill", INT64_MAX)},
        {{"tile", "--", "--odd", "left-half"}, Command::tile("--odd", "left-half")},
        {{"rule", "add", "Mail", "--tile", "fill", "--display=3", "--title", "^In"},
         Command::ruleAdd("Mail", "fill", 3, "^In")},
        {{"rule", "remove", "Mail"}, Command::ruleRemove("Mail")},
        {{"layout", "save", "work"}, Command::layoutSave("work")},
        {{"layout", "apply", "work"}, Command::layoutApply("work")},
        {{"layout", "list"}, Command::layoutList()},
        {{"skill", "paths"}, Command::skillPaths()},
        {{"skill", "install", "/tmp/s"}, Command::skillInstall("/tmp/s")},
        {{"skill", "uninstall", "/tmp/s"}, Command::skillUninstall("/tmp/s")},
        // A single dash word is a positional word, not an option.
        {{"app", "remove", "-"}, Command::appRemove("-")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.arguments));
        EXPECT_EQ(CommandParser::parse(c.arguments), withCommand(c.command));
    }
}

TEST(command_parser, reads_global_flags_anywhere_and_help_or_version_stop_reading) {
    struct Case {
        Args arguments;
        Invocation invocation;
    };
    const Case cases[] = {
        {{"app", "--json", "list", "--yes", "--json", "--config", "/c.toml", "--timeout=0.5"},
         withCommand(Command::appList(), true, true, "/c.toml", 0.5)},
        {{"--json"}, withCommand(Command::help(), true)},
        // The value of an option is taken as it stands, even when it looks like a flag.
        {{"app", "add", "U", "--name", "--json"}, withCommand(Command::appAdd("U", "--json"))},
        {{"--config="}, withCommand(Command::help(), false, false, "")},
        {{"--timeout", "+1e2"}, withCommand(Command::help(), false, false, std::nullopt, 100.0)},
        {{"--help", "--bogus"}, withCommand(Command::help())},
        {{"-h", "--frameless"}, withCommand(Command::help())},
        {{"--json", "app", "bogus", "--help"}, withCommand(Command::help(), true)},
        {{"--json", "--config", "x", "--version", "--timeout", "0"},
         withCommand(Command::version(), true, false, "x")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.arguments));
        EXPECT_EQ(CommandParser::parse(c.arguments), c.invocation);
    }
}

TEST(command_parser, refuses_wrong_words_with_fixed_messages) {
    struct Case {
        Args arguments;
        std::string message;
    };
    const std::string timeout = "--timeout needs a positive number of seconds.";
    const std::string display = "Display numbers start at 1.";
    const std::string style =
        "Window style is set in Settings › Tiling. --frameless and --titlebar are not used.";
    const Case cases[] = {
        {{"--bogus", "--help"}, "Unknown option --bogus."},
        {{"--json=1"}, "Unknown option --json."},
        {{"--=x"}, "Unknown option --."},
        {{"app", "add", "U", "--name"}, "--name needs a value."},
        {{"--frameless", "app", "list"}, style},
        {{"app", "list", "--titlebar"}, style},
        {{"--timeout", "0"}, timeout},
        {{"--timeout", "abc"}, timeout},
        {{"--timeout", "inf"}, timeout},
        {{"--timeout", "1e-400"}, timeout},  // rounds to zero
        {{"--timeout", "0x10"}, timeout},
        {{"--timeout", " 1"}, timeout},
        {{"--timeout="}, timeout},
        {{"tile", "Safari", "left-half", "--display", "0"}, display},
        {{"tile", "Safari", "left-half", "--display", "+"}, display},
        {{"tile", "Safari", "left-half", "--display", " 1"}, display},
        {{"tile", "Safari", "left-half", "--display", "99999999999999999999"}, display},
        {{"tile", "Safari", "left-half", "--display", "٣"}, display},  // digits of other scripts
        {{"apply", "now"}, "apply takes no arguments."},
        {{"Apply"}, "Unknown command Apply. Try halyward help."},
        {{"-x"}, "Unknown command -x. Try halyward help."},
        {{"app"}, "Usage: halyward app add <url> --name <name>"},
        {{"app", "add", "--name", "Mail"}, "Usage: halyward app add <url> --name <name>"},
        {{"app", "remove"}, "Usage: halyward app remove <name>"},
        {{"app", "open"}, "Unknown app command open."},
        {{"hotkey"}, "Usage: halyward hotkey set <chord> <app>"},
        {{"hotkey", "set", "cmd+m"}, "Usage: halyward hotkey set <chord> <app>"},
        {{"hotkey", "unset"}, "Usage: halyward hotkey unset <chord>"},
        {{"hotkey", "clear"}, "Unknown hotkey command clear."},
        {{"tile", "Safari"}, "Usage: halyward tile <app> <tile>"},
        {{"rule"}, "Usage: halyward rule add <app> --tile <tile>"},
        {{"rule", "add"}, "Usage: halyward rule add <app> --tile <tile>"},
        {{"rule", "add", "Mail"}, "rule add needs --tile."},
        {{"rule", "remove"}, "Usage: halyward rule remove <app>"},
        {{"layout"}, "Usage: halyward layout list"},
        {{"layout", "save"}, "Usage: halyward layout save <name>"},
        {{"layout", "apply"}, "Usage: halyward layout apply <name>"},
        {{"config"}, "Usage: halyward config show"},
        {{"skill"}, "Usage: halyward skill paths"},
        {{"skill", "install"}, "Usage: halyward skill install <folder>"},
        {{"skill", "uninstall"}, "Usage: halyward skill uninstall <folder>"},
        {{"skill", "list"}, "Unknown skill command list."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(thrownBy([&] { CommandParser::parse(c.arguments); }),
                  HalywardError::usage(c.message))
            << ::testing::PrintToString(c.arguments);
    }
}

TEST(help_text, opens_with_tagline_and_lists_every_tile) {
    std::string_view text = HelpText::text();
    EXPECT_TRUE(text.starts_with("halyward — "));
    EXPECT_EQ(text.find('\n'), text.find("\n\nUsage:\n  halyward app add <url>"));
    EXPECT_TRUE(
        text.ends_with("[tile_hotkeys] in config.toml. [ and ] are stored as\n"
                       "leftbracket and rightbracket.\n"));
    // Hidden commands stay out of the help.
    EXPECT_EQ(text.find("skill"), std::string_view::npos);
    EXPECT_EQ(text.find("ping"), std::string_view::npos);

    std::string listed;
    for (TileSlot slot : allTileSlots) {
        if (!listed.empty()) listed += ", ";
        listed += rawValue(slot);
    }
    std::string tiles(text.substr(text.find("Tiles: ") + 7));
    tiles = tiles.substr(0, tiles.find(".\n"));
    for (auto& c : tiles)
        if (c == '\n') c = ' ';
    EXPECT_EQ(tiles, listed);
}
