#include "halyward/config/config_file.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace halyward;

namespace {

std::string defaultWith(std::string_view tail) {
    return std::string(ConfigFile::defaultText()) + std::string(tail);
}

}  // namespace

TEST(config_edit, app_hotkey_is_an_inline_table_naming_the_bundle) {
    ConfigFile file = ConfigFile::makeDefault();
    file.setNativeHotkey("ctrl+opt+m", "com.apple.Mail");
    file.setNativeHotkey("ctrl+opt+n", "com.apple.Notes");
    file.removeNativeHotkey("ctrl+opt+n");
    EXPECT_EQ(file.text(),
              defaultWith("\n[hotkeys]\n\"ctrl+opt+m\" = { bundle = \"com.apple.Mail\" }\n"));
}

TEST(config_edit, new_app_gets_a_compact_table_and_an_existing_one_keeps_its_comments) {
    ConfigFile file(
        "# my apps\n[apps.notes] # pinned\nurl = \"https://old\"   #  keep me  \n"
        "user_css = \"body{}\"\nstandard_user_agent = true\n\n# next\n[apps.mail]\n");
    WebAppRecord notes{"notes", {"https://new", "Notes", "app.halyward.web.notes"}};
    notes.spec.tile = "left-half";
    file.upsertApp(notes);
    file.upsertApp(notes);
    // New keys go below the comment that introduces the next table: it belongs to this one.
    EXPECT_EQ(file.text(),
              "# my apps\n[apps.notes] # pinned\nurl = \"https://new\" #  keep me\n"
              "user_css = \"\"\nstandard_user_agent = false\n\n# next\nname = \"Notes\"\n"
              "bundle_id = \"app.halyward.web.notes\"\ntile = \"left-half\"\n[apps.mail]\n");
    EXPECT_EQ(file.decode().apps[0], notes);

    ConfigFile fresh;
    WebAppRecord site{
        "site", {"https://x", "X", "id.x", "ctrl+opt+x", std::nullopt, "", "a()", "/i.png", true}};
    fresh.upsertApp(site);
    EXPECT_EQ(fresh.text(),
              "[apps.site]\nurl = \"https://x\"\nname = \"X\"\nbundle_id = \"id.x\"\n"
              "hotkey = \"ctrl+opt+x\"\nuser_js = \"a()\"\nicon = \"/i.png\"\n"
              "standard_user_agent = true\n");
    EXPECT_EQ(fresh.decode().apps, std::vector<WebAppRecord>{site});
    site.spec.hotkey = "";
    site.spec.iconPath.reset();
    fresh.upsertApp(site);
    EXPECT_FALSE(fresh.decode().apps[0].spec.hotkey.has_value());
    EXPECT_EQ(fresh.text().find("icon"), std::string::npos);
}

TEST(config_edit, layout_holds_exactly_its_assignments) {
    ConfigFile file(
        "[layouts.work]\nmail = \"left-half\" # inbox\nchat = \"top-right\"\n"
        "notes = \"fill\"\n[layouts.work.old]\nx = \"y\"\n[layouts.home]\nweb = \"fill\"\n");
    file.upsertLayout({"work",
                       {{"notes", "right-half"},
                        {"mail", "left-half"},
                        {"code", "fill"},
                        {"code", "bottom-right"}}});
    EXPECT_EQ(file.text(),
              "[layouts.work]\nmail = \"left-half\" # inbox\nnotes = \"right-half\"\n"
              "code = \"bottom-right\"\n[layouts.home]\nweb = \"fill\"\n");
}

TEST(config_edit, rules_round_trip_and_keep_a_bundle_they_do_not_name) {
    ConfigFile file;
    TileRule rule{"mail", "com.apple.Mail", "Mail", "^Inbox", "left-half", 2};
    file.upsertRule(rule);
    EXPECT_EQ(file.decode().rules, std::vector<TileRule>{rule});
    file.upsertRule({"mail", "", std::nullopt, std::nullopt, "fill", std::nullopt});
    EXPECT_EQ(file.text(), "[rules.mail]\nbundle = \"com.apple.Mail\"\ntile = \"fill\"\n");
    file.removeRule("mail");
    EXPECT_EQ(file.text(), "");
}

TEST(config_edit, general_settings_update_in_place_and_append_what_is_missing) {
    ConfigFile file = ConfigFile::makeDefault();
    GeneralConfig general = file.decode().general;
    general.tileGap = 8.5;
    general.windowChrome = WindowChrome::standard;
    general.tileHotkeys.erase("fill");
    general.tileHotkeys.erase("focus_h");
    general.tileHotkeys["aa_new"] = "ctrl+opt+0";
    general.tileHotkeys["zz_new"] = "ctrl+opt+9";
    general.agentCommand = {"agent", "--yes"};
    file.setGeneral(general);

    std::string expected(ConfigFile::defaultText());
    auto replace = [&](std::string_view from, std::string_view to) {
        const auto at = expected.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        expected.replace(at, from.size(), to);
    };
    replace("tile_gap = 0\n", "tile_gap = 8.5\n");
    replace("agent_command = []", "agent_command = [\"agent\", \"--yes\"]");
    // The new general key lands after the comment block that introduces [tile_hotkeys].
    replace("rightbracket.\n[tile_hotkeys]\n",
            "rightbracket.\nwindow_style = \"standard\"\n[tile_hotkeys]\n");
    replace("focus_h = \"ctrl+opt+h\"\n", "");
    replace("fill = \"ctrl+opt+f\"\n", "");
    replace(
        "exit_escape = \"ctrl+opt+escape\"\n",
        "exit_escape = \"ctrl+opt+escape\"\naa_new = \"ctrl+opt+0\"\nzz_new = \"ctrl+opt+9\"\n");
    EXPECT_EQ(file.text(), expected);
    EXPECT_EQ(file.decode().general, general);

    file.setAgents({{"halyward"}, {"/skills", "~/more"}});
    EXPECT_EQ(file.decode().agents, (AgentConfig{{"halyward"}, {"/skills", "~/more"}}));
}
