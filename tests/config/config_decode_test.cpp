#include "halyward/config/config_file.hpp"
#include "halyward/config/config_json.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace halyward;

namespace {

HalywardConfig decoded(std::string_view text) { return ConfigFile(text).decode(); }

}  // namespace

TEST(config_decode, default_file_round_trips_and_holds_every_default) {
    const ConfigFile file = ConfigFile::makeDefault();
    // The template renders back to itself, so a first edit changes only what it sets.
    EXPECT_EQ(file.text(), ConfigFile::defaultText());

    HalywardConfig expected;
    const HalywardConfig config = file.decode();
    EXPECT_EQ(config.general.tileHotkeys.size(), 27u);
    expected.general.tileHotkeys = config.general.tileHotkeys;
    EXPECT_EQ(config, expected);
    // An empty file differs from the template only by its missing tile hotkeys.
    EXPECT_EQ(ConfigFile().decode(), HalywardConfig{});
}

TEST(config_decode, wrong_kinds_and_missing_keys_take_defaults) {
    struct Case {
        std::string text;
        std::function<bool(const HalywardConfig&)> holds;
    };
    const Case cases[] = {
        {"[general]\ntile_gap = 8", [](auto& c) { return c.general.tileGap == 8.0; }},
        {"[general]\ntile_gap = 8.5", [](auto& c) { return c.general.tileGap == 8.5; }},
        {"[general]\ntile_gap = \"8\"", [](auto& c) { return c.general.tileGap == 0.0; }},
        {"[general]\nwindow_style = 1",
         [](auto& c) { return c.general.windowChrome == WindowChrome::slim; }},
        {"[general]\nlaunch_at_login = \"yes\"\ncheck_for_updates = 0",
         [](auto& c) { return !c.general.launchAtLogin && c.general.checkForUpdates; }},
        // The later value wins even when it is of the wrong kind, which means the default.
        {"[general]\nleader_key = \"a\"\nleader_key = 1",
         [](auto& c) { return c.general.leaderKey.empty(); }},
        {"[general]\nagent_command = [\"agent\", 1, \"--x\"]",
         [](auto& c) {
             return c.general.agentCommand == std::vector<std::string>{"agent", "--x"};
         }},
        {"[tile_hotkeys]\nfill = \"ctrl+f\"\nfocus_up = true",
         [](auto& c) {
             return c.general.tileHotkeys == std::map<std::string, std::string>{{"fill", "ctrl+f"}};
         }},
        {"version = 2.0\n[agents]\ninstalled = \"x\"\ncustom_folders = [\"/a\", []]",
         [](auto& c) {
             return c.version == 2 && c.agents.installed.empty() &&
                    c.agents.customFolders.size() == 1;
         }},
        {"version = \"1\"", [](auto& c) { return c.version == 1; }},
        // Keys of a nested table are not keys of its parent.
        {"[general]\nx.leader_key = \"caps\"", [](auto& c) { return c.general.leaderKey.empty(); }},
    };
    for (const Case& c : cases) EXPECT_TRUE(c.holds(decoded(c.text))) << c.text;
}

TEST(config_decode, named_tables_give_records_in_file_order) {
    const HalywardConfig config = decoded(R"(
[apps.notes]
url = "https://notes.example"
[apps.nourl]
name = "No address"
[rules.mail]
tile = "left-half"
display = 2.0
title = "^Inbox"
[apps]
mail.url = "https://mail.example"
notes.name = "Notes"
[apps.mail]
standard_user_agent = true
[hotkeys]
"ctrl+opt+m" = "com.apple.Mail"
"ctrl+opt+s" = { bundle = "com.apple.Safari" }
"ctrl+opt+x" = { app = "x" }
"ctrl+opt+y" = 3
[rules.notile]
bundle = "com.x"
[layouts.work]
mail = "left-half"
skipped = 1
notes = "right-half"
mail = "fill"
[apps.notes]
)");
    ASSERT_EQ(config.apps.size(), 3u);  // a repeated header repeats its record
    EXPECT_EQ(
        config.apps[0],
        (WebAppRecord{"notes", {"https://notes.example", "Notes", "app.halyward.web.notes"}}));
    EXPECT_EQ(config.apps[1].slug, "mail");
    EXPECT_TRUE(config.apps[1].spec.standardUserAgent);
    EXPECT_EQ(config.apps[2], config.apps[0]);
    EXPECT_EQ(config.hotkeys, (std::vector<NativeHotkey>{{"ctrl+opt+m", "com.apple.Mail"},
                                                         {"ctrl+opt+s", "com.apple.Safari"}}));
    ASSERT_EQ(config.rules.size(), 1u);
    EXPECT_EQ(config.rules[0], (TileRule{"mail", "", std::nullopt, "^Inbox", "left-half", 2}));
    ASSERT_EQ(config.layouts.size(), 1u);
    EXPECT_EQ(config.layouts[0].assignments,
              (std::vector<LayoutAssignment>{{"mail", "fill"}, {"notes", "right-half"}}));

    const std::string json = configJSON(config).canonicalString();
    EXPECT_EQ(
        json.find(
            R"({"apps":[{"bundleIdentifier":"app.halyward.web.notes","hotkey":null,"name":"Notes",)"
            R"("slug":"notes","tile":null,"url":"https://notes.example"},)"),
        0u);
    EXPECT_NE(
        json.find(R"("layouts":[{"assignments":[{"target":"mail","tile":"fill"},{"target":"notes",)"
                  R"("tile":"right-half"}],"name":"work"}],"version":1})"),
        std::string::npos);
}
