#include "halyward/hotkeys/effective_hotkeys.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace halyward;

namespace {

WebAppRecord app(std::string slug, std::optional<std::string> hotkey) {
    WebAppRecord record;
    record.slug = slug;
    record.spec.url = "https://" + slug + ".example";
    record.spec.bundleIdentifier = "app.halyward.web." + slug;
    record.spec.hotkey = std::move(hotkey);
    return record;
}

}  // namespace

TEST(effective_hotkeys, lists_apps_then_hotkeys_then_builtins_then_tile_chords) {
    HalywardConfig config;
    config.apps = {app("mail", "cmd+opt+M"), app("blank", ""), app("none", std::nullopt),
                   app("bad", "super+x")};
    config.hotkeys = {{"ctrl+opt+t", "com.apple.Terminal"}, {"nonsense", "com.example"}};
    config.general.tileHotkeys["focus_left"] = "\xFF";  // ignored: the default stays
    const std::vector<EffectiveHotkey> expected_head = {
        {"opt+cmd+m", "app.halyward.web.mail", "app:mail"},
        {"ctrl+opt+t", "com.apple.Terminal", "hotkeys"},
        {"ctrl+opt+space", "halyward.tile-mode", "builtin"},
        {"ctrl+opt+a", "halyward.agent", "builtin"},
        {"ctrl+opt+n", "halyward.new-app", "builtin"},
        {"ctrl+opt+l", "halyward.layout", "builtin"},
        {"ctrl+opt+left", "tile:focus-left", "builtin"},
    };
    auto effective = effectiveHotkeys(config);
    ASSERT_EQ(effective.size(), 6 + 27u);
    EXPECT_EQ(std::vector<EffectiveHotkey>(effective.begin(), effective.begin() + 7),
              expected_head);
    EXPECT_EQ(effective.back(), (EffectiveHotkey{"ctrl+opt+escape", "tile:exit", "builtin"}));

    config.general.agentHotkeyEnabled = false;
    config.general.tileModeHotkey = "";
    config.general.layoutHotkey = "ctrl+opt+cmd+ctrl";
    effective = effectiveHotkeys(config);
    ASSERT_EQ(effective.size(), 3 + 27u);
    EXPECT_EQ(effective[2].bundleIdentifier, "halyward.new-app");
}

TEST(hotkey_conflicts, report_later_duplicates_and_reserved_chords_in_walk_order) {
    EXPECT_TRUE(hotkeyConflicts(HalywardConfig{}).empty());

    struct Case {
        HalywardConfig config;
        std::vector<HotkeyConflict> conflicts;
    };
    HalywardConfig sameApps;
    sameApps.apps = {app("one", "opt+cmd+m"), app("two", "Cmd+Opt+M")};
    HalywardConfig tileOnLayout;
    tileOnLayout.general.tileHotkeys["fill"] = "opt+ctrl+L";
    HalywardConfig reserved;
    reserved.apps = {app("a", "ctrl+left")};
    reserved.hotkeys = {{"control+left", "com.example"}, {"cmd+opt+esc", "com.example"}};
    HalywardConfig agentOff;
    agentOff.general.agentHotkeyEnabled = false;
    agentOff.general.agentHotkey = "ctrl+cmd+space";
    HalywardConfig agentOn = agentOff;
    agentOn.general.agentHotkeyEnabled = true;

    const Case cases[] = {
        {sameApps, {{"opt+cmd+m", "opt+cmd+m is already used."}}},
        {tileOnLayout, {{"ctrl+opt+l", "ctrl+opt+l is already used."}}},
        {reserved,
         {{"ctrl+left", "macOS uses this chord."},
          {"ctrl+left", "ctrl+left is already used."},
          {"ctrl+left", "macOS uses this chord."}}},
        {agentOff, {}},
        {agentOn, {{"ctrl+cmd+space", "macOS uses this chord."}}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(hotkeyConflicts(cases[i].config), cases[i].conflicts) << "case " << i;
    }
}

TEST(configured_hotkey, first_web_app_wins_then_hotkeys_table) {
    HalywardConfig config;
    config.apps = {app("mail", "opt+cmd+m"), app("notes", std::nullopt), app("notes2", "ctrl+n")};
    config.apps[2].spec.bundleIdentifier = config.apps[1].spec.bundleIdentifier;
    config.hotkeys = {{"ctrl+opt+t", "com.apple.Terminal"},
                      {"ctrl+opt+w", "app.halyward.web.notes"},
                      {"ctrl+opt+m", "app.halyward.web.mail"}};
    struct Case {
        std::string bundle, chord;
    };
    const Case cases[] = {
        {"app.halyward.web.mail", "opt+cmd+m"},
        {"app.halyward.web.notes", "ctrl+opt+w"},  // first match has none: skip later apps
        {"com.apple.Terminal", "ctrl+opt+t"},
        {"com.apple.terminal", ""},
        {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(configuredHotkey(config, c.bundle), c.chord) << c.bundle;
}

TEST(hotkey_source, text_form_round_trips_and_unknown_text_is_builtin) {
    using Kind = HotkeySource::Kind;
    struct Case {
        std::string text;
        HotkeySource source;
        std::string encoded;
    };
    const Case cases[] = {
        {"app:mail", {Kind::webApp, "mail"}, "app:mail"},
        {"app:", {Kind::webApp, ""}, "app:"},
        {"hotkeys", {Kind::hotkeysTable, ""}, "hotkeys"},
        {"builtin", {Kind::builtin, ""}, "builtin"},
        {"App:mail", {Kind::builtin, ""}, "builtin"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(HotkeySource::decode(c.text), c.source) << c.text;
        EXPECT_EQ(c.source.encode(), c.encoded) << c.text;
    }
}
