// Chords, tile mode, the leader key and app hotkeys, driven through the events a window
// system sends.

#include "app_fixture.hpp"

#include <map>
#include <set>

using namespace halyward;
using namespace halyward::fakes;

namespace {

class AppKeysTest : public AppTest {
protected:
    void SetUp() override {
        system.displayList = {display(0, 0, 1000, 830)};
        resetDesktop();
    }
    // Two untiled windows side by side and a hidden one; the left one has the focus.
    void resetDesktop() {
        system.windowList = {window(1, "org.example.editor", {100, 100, 300, 300}),
                             window(2, "org.example.browser", {600, 100, 300, 300}),
                             window(3, "org.example.notes", {400, 400, 100, 100})};
        system.windowList[2].hidden = true;
        system.focused = 1;
        system.writes.clear();
    }
    std::set<std::string> grabbedChords() const {
        std::set<std::string> chords;
        for (const HotkeyChord& chord : system.grabbed) chords.insert(chord.canonical());
        return chords;
    }
    KeyPress chordKey(std::string_view name) {
        KeyPress press;
        press.key = HotkeyParser::key(name);
        press.ctrl = press.opt = true;
        return press;
    }
};

}  // namespace

TEST_F(AppKeysTest, grabs_each_chord_once_leaving_out_leader_chords) {
    start(R"([general]
animate_tiles = false
leader_key = "caps"
[tile_hotkeys]
fill = "ctrl+opt+m"
[hotkeys]
"ctrl+opt+m" = "org.example.mail"
"leader+e" = "org.example.editor"
"ctrl+opt+shift+9" = "org.example.browser"
)");
    const std::set<std::string> chords = grabbedChords();
    EXPECT_EQ(system.grabbed.size(), chords.size()) << "a chord was grabbed twice";
    // Two app chords, tile mode, the agent, new app, the layout cycle and 24 tile chords: fill lost
    // its chord to the app hotkey that came first, and the exit chords are read in tile mode
    // only.
    EXPECT_EQ(chords.size(), 30u);
    for (const char* absent : {"leader+e", "ctrl+opt+f", "ctrl+opt+escape", "ctrl+opt+return"}) {
        EXPECT_EQ(chords.count(absent), 0u) << absent;
    }
    for (const char* present : {"ctrl+opt+m", "ctrl+opt+space", "ctrl+opt+a", "ctrl+opt+n",
                                "ctrl+opt+l", "ctrl+opt+cmd+l"}) {
        EXPECT_EQ(chords.count(present), 1u) << present;
    }
    EXPECT_EQ(system.leaderKey, HotkeyKey::named("caps"));

    press("ctrl+opt+m");  // the app keeps the chord it claimed first
    ASSERT_EQ(system.launches.size(), 1u);
    EXPECT_EQ(system.launches[0].appIdentity, "org.example.mail");
    EXPECT_TRUE(system.writes.empty());
}

TEST_F(AppKeysTest, each_chord_does_its_action_on_the_focused_window) {
    system.focused = 1;
    start();
    const Frame left{100, 100, 300, 300}, right{600, 100, 300, 300};
    struct Case {
        std::string chord;
        WindowId focusedAfter;
        Frame one, two;
    };
    const Case cases[] = {
        {"ctrl+opt+right", 2, left, right},
        {"ctrl+opt+cmd+l", 2, left, right},
        {"ctrl+opt+up", 1, left, right},  // nothing lies above
        {"ctrl+opt+shift+right", 1, right, left},
        {"ctrl+opt+shift+left", 1, tile(TileSlot::leftHalf), right},
        {"ctrl+opt+f", 1, tile(TileSlot::fill), right},
        {"ctrl+opt+2", 1, tile(TileSlot::leftThird), tile(TileSlot::centerThird)},
        // The layout chord goes on from the last layout of the display: 2, so 3.
        {"ctrl+opt+l", 1, tile(TileSlot::topLeft), tile(TileSlot::topRight)},
        {"ctrl+opt+escape", 1, left, right},        // leaving tile mode when it is off
        {"ctrl+opt+rightbracket", 1, left, right},  // one display: a notice instead
    };
    for (const Case& c : cases) {
        resetDesktop();
        press(c.chord);
        EXPECT_EQ(system.focused, c.focusedAfter) << c.chord;
        EXPECT_EQ(frameOf(1), c.one) << c.chord;
        EXPECT_EQ(frameOf(2), c.two) << c.chord;
        EXPECT_EQ(frameOf(3), (Frame{400, 400, 100, 100})) << c.chord << ": hidden windows stay";
    }
    EXPECT_FALSE(core->tileModeActive());

    // With nothing focused, a focus key focuses the front-most window; other keys wait.
    resetDesktop();
    system.focused.reset();
    press("ctrl+opt+f");
    EXPECT_TRUE(system.writes.empty());
    press("ctrl+opt+left");
    EXPECT_EQ(system.focused, 1u);
}

TEST_F(AppKeysTest, tile_mode_shows_the_panel_and_outline_and_takes_bare_keys) {
    start();
    press("ctrl+opt+space");
    ASSERT_TRUE(core->tileModeActive());
    EXPECT_TRUE(system.keyboardGrabbed);
    ASSERT_TRUE(system.panel);
    EXPECT_EQ(system.panel->displayFrame, system.displayList[0].visibleFrame);
    std::vector<std::pair<std::string, std::size_t>> sections;
    for (const TilePanelSection& s : system.panel->sections)
        sections.emplace_back(s.title, s.rows.size());
    EXPECT_EQ(sections, (std::vector<std::pair<std::string, std::size_t>>{
                            {"Focus", 8}, {"Move", 8}, {"Layout", 6}, {"More", 5}}));
    EXPECT_EQ(system.panel->sections[0].rows[0],
              (TilePanelRow{"←", "Focus left", "Ctrl+Alt+Left"}));
    EXPECT_EQ(system.panel->sections[1].rows[0],
              (TilePanelRow{"Shift+←", "Move left", "Shift+Ctrl+Alt+Left"}));
    EXPECT_EQ(system.panel->sections[1].rows[4],
              (TilePanelRow{"Shift+H", "Move left (H)", "Shift+Ctrl+Alt+H"}));
    EXPECT_EQ(system.outline, frameOf(1));

    struct Case {
        std::string key;
        bool shift;
        WindowId focusedAfter;
        Frame one;
    };
    const Case cases[] = {
        {"l", false, 2, {100, 100, 300, 300}},     {"right", false, 2, {100, 100, 300, 300}},
        {"l", true, 1, {600, 100, 300, 300}},  // moves by swapping with the neighbour
        {"1", false, 1, tile(TileSlot::leftHalf)}, {"f", false, 1, tile(TileSlot::fill)},
        {"z", false, 1, {100, 100, 300, 300}},  // no action: tile mode stays
    };
    for (const Case& c : cases) {
        resetDesktop();
        core->focusChanged(1);
        key(c.key, c.shift);
        EXPECT_TRUE(core->tileModeActive()) << c.key;
        EXPECT_EQ(system.focused, c.focusedAfter) << c.key;
        EXPECT_EQ(frameOf(1), c.one) << c.key;
        EXPECT_EQ(system.outline, frameOf(c.focusedAfter)) << c.key << ": the outline follows";
    }
}

TEST_F(AppKeysTest, tile_mode_is_left_by_return_escape_and_the_exit_and_tile_mode_chords) {
    start();
    const std::vector<KeyPress> ways = {
        [] {
            KeyPress p;
            p.key = HotkeyKey::named("return");
            return p;
        }(),
        [] {
            KeyPress p;
            p.key = HotkeyKey::named("escape");
            return p;
        }(),
        chordKey("escape"),
        chordKey("return"),
        chordKey("space"),
    };
    for (const KeyPress& way : ways) {
        press("ctrl+opt+space");
        ASSERT_TRUE(core->tileModeActive());
        core->keyPressed(way);
        EXPECT_FALSE(core->tileModeActive()) << way.key.canonical();
        EXPECT_FALSE(system.keyboardGrabbed);
        EXPECT_FALSE(system.panel);
        EXPECT_FALSE(system.outline);
    }
    // A chord bound to something else runs as it would outside tile mode, which stays on.
    press("ctrl+opt+space");
    core->keyPressed(chordKey("f"));
    EXPECT_EQ(frameOf(1), tile(TileSlot::fill));
    EXPECT_TRUE(core->tileModeActive());
}

TEST_F(AppKeysTest, tile_mode_without_the_keyboard_says_so_and_stays_off) {
    system.keyboardFree = false;
    start();
    press("ctrl+opt+space");
    EXPECT_FALSE(core->tileModeActive());
    EXPECT_FALSE(system.panel);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("another program holds it"), std::string::npos);
}

TEST_F(AppKeysTest, the_leader_key_takes_the_next_key_within_a_second) {
    start(R"([general]
animate_tiles = false
leader_key = "caps"
[hotkeys]
"leader+m" = "org.example.mail"
"leader+t" = "halyward.tile-mode"
)");
    core->leaderTapped();
    EXPECT_TRUE(system.keyboardGrabbed);
    key("m");
    EXPECT_FALSE(system.keyboardGrabbed);
    ASSERT_EQ(system.launches.size(), 1u);
    EXPECT_EQ(system.launches[0].appIdentity, "org.example.mail");

    core->leaderTapped();
    system.advance(0.99);
    EXPECT_TRUE(system.keyboardGrabbed);
    system.advance(0.02);
    EXPECT_FALSE(system.keyboardGrabbed);
    key("m");  // too late: an ordinary key again
    EXPECT_EQ(system.launches.size(), 1u);

    core->leaderTapped();
    key("x");  // bound to nothing: the leader is simply spent
    EXPECT_FALSE(system.keyboardGrabbed);
    core->leaderTapped();
    key("t");
    EXPECT_TRUE(core->tileModeActive());
    EXPECT_TRUE(system.keyboardGrabbed);
}

TEST_F(AppKeysTest, leader_chords_without_a_leader_key_are_reported_and_caps_is_left_alone) {
    start("[hotkeys]\n\"leader+m\" = \"org.example.mail\"\n");
    EXPECT_FALSE(system.leaderKey);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("leader_key"), std::string::npos);
    core->leaderTapped();
    EXPECT_FALSE(system.keyboardGrabbed);
}

TEST_F(AppKeysTest, app_hotkeys_launch_focus_cycle_and_hide) {
    struct Case {
        std::string name;
        std::string general;
        std::vector<WindowInfo> windows;
        std::optional<WindowId> focused;
        int presses;
        std::vector<WindowId> focuses;
        std::vector<std::string> hidden;
        std::vector<LaunchRequest> launches;
    };
    const std::string mail = "org.example.mail";
    auto mailWindow = [&](WindowId id) { return window(id, mail, {10.0 * id, 40, 200, 200}); };
    WindowInfo aliased = window(30, "mail-client", {0, 40, 200, 200});
    aliased.appAliases = {"Org.Example.MAIL"};
    const std::string newsBundle = home / "Applications/Halyward Apps/News.app";
    const Case cases[] = {
        {"not running", "", {}, std::nullopt, 1, {}, {}, {{mail, ""}}},
        {"not front-most",
         "",
         {window(1, "x", {}), mailWindow(12), mailWindow(11)},
         1,
         1,
         {12},
         {},
         {}},
        {"cycles by age",
         "",
         {mailWindow(12), mailWindow(11), mailWindow(13)},
         12,
         3,
         {13, 11, 12},
         {},
         {}},
        {"one window stays", "", {mailWindow(11)}, 11, 1, {11}, {}, {}},
        {"hide on repeat", "hide_on_repeat = true", {mailWindow(11)}, 11, 1, {}, {mail}, {}},
        {"no cycling",
         "cycle_windows = false",
         {mailWindow(11), mailWindow(12)},
         11,
         1,
         {11},
         {},
         {}},
        {"by alias", "", {window(1, "x", {}), aliased}, 1, 1, {30}, {}, {}},
    };
    for (const Case& c : cases) {
        system.focuses.clear();
        system.hiddenApps.clear();
        system.launches.clear();
        system.windowList = c.windows;
        system.focused = c.focused;
        start("[general]\nanimate_tiles = false\n" + c.general +
              "\n[hotkeys]\n\"ctrl+opt+m\" = \"org.example.mail\"\n");
        for (int i = 0; i < c.presses; ++i) press("ctrl+opt+m");
        EXPECT_EQ(system.focuses, c.focuses) << c.name;
        EXPECT_EQ(system.hiddenApps, c.hidden) << c.name;
        EXPECT_EQ(system.launches, c.launches) << c.name;
        core.reset();
    }

    system.launches.clear();
    system.windowList.clear();
    system.launchSucceeds = false;
    start(
        "[apps.news]\nurl = \"https://news.example.com\"\nname = \"News\"\nhotkey = \"ctrl+opt+w\"\n");
    press("ctrl+opt+w");
    EXPECT_EQ(system.launches, (std::vector<LaunchRequest>{{"app.halyward.web.news", newsBundle}}));
    EXPECT_EQ(reports,
              std::vector<std::string>{"No application is installed as app.halyward.web.news."});
}
