// Moves, layouts, displays, rules and animation: what the core asks the window system to
// do with frames.

#include "app_fixture.hpp"

#include "halyward/tiling/display.hpp"
#include "halyward/tiling/layout.hpp"
#include "halyward/tiling/motion.hpp"

using namespace halyward;
using namespace halyward::fakes;

namespace {

class AppTilingTest : public AppTest {
protected:
    void SetUp() override {
        // Two displays of different sizes, side by side.
        system.displayList = {display(0, 0, 1000, 830), display(1000, 0, 1600, 1230)};
    }
};

}  // namespace

TEST_F(AppTilingTest, move_swaps_with_a_neighbour_else_steps_to_the_next_tile) {
    start();
    struct Case {
        std::string name;
        std::vector<WindowInfo> windows;
        std::string chord;
        Frame one;
        std::optional<Frame> two;
    };
    const Frame odd{100, 100, 300, 300};
    const Case cases[] = {
        {"swap",
         {window(1, "a", tile(TileSlot::leftHalf)), window(2, "b", tile(TileSlot::rightHalf))},
         "ctrl+opt+shift+right",
         tile(TileSlot::rightHalf),
         tile(TileSlot::leftHalf)},
        {"next third",
         {window(1, "a", tile(TileSlot::leftThird))},
         "ctrl+opt+shift+l",
         tile(TileSlot::centerThird),
         std::nullopt},
        {"two thirds to the third",
         {window(1, "a", tile(TileSlot::leftTwoThirds))},
         "ctrl+opt+shift+right",
         tile(TileSlot::rightThird),
         std::nullopt},
        {"corner down",
         {window(1, "a", tile(TileSlot::topRight))},
         "ctrl+opt+shift+j",
         tile(TileSlot::bottomRight),
         std::nullopt},
        {"untiled takes the half",
         {window(1, "a", odd)},
         "ctrl+opt+shift+up",
         tile(TileSlot::topHalf),
         std::nullopt},
        {"at the edge stays",
         {window(1, "a", tile(TileSlot::leftHalf))},
         "ctrl+opt+shift+left",
         tile(TileSlot::leftHalf),
         std::nullopt},
        // A neighbour on another display is not swapped with: that is what [ and ] are for.
        {"other display",
         {window(1, "a", tile(TileSlot::rightHalf)), window(2, "b", tile(TileSlot::leftHalf, 1))},
         "ctrl+opt+shift+right",
         tile(TileSlot::rightHalf),
         tile(TileSlot::leftHalf, 1)},
    };
    for (const Case& c : cases) {
        system.windowList = c.windows;
        system.focused = 1;
        press(c.chord);
        EXPECT_EQ(frameOf(1), c.one) << c.name;
        if (c.two) {
            EXPECT_EQ(frameOf(2), *c.two) << c.name;
        }
    }
}

TEST_F(AppTilingTest, layouts_arrange_the_shown_windows_of_the_focused_display_front_most_first) {
    start("[general]\nanimate_tiles = false\ntile_gap = 8\n");
    system.windowList = {window(1, "a", {10, 40, 100, 100}), window(2, "b", {1100, 40, 100, 100}),
                         window(3, "c", {20, 50, 100, 100}), window(4, "d", {30, 60, 100, 100}),
                         window(5, "e", {40, 70, 100, 100})};
    system.windowList[3].hidden = true;
    system.focused = 1;
    const Frame visible = system.displayList[0].visibleFrame;
    for (std::int64_t number = 1; number <= 6; ++number) {
        press("ctrl+opt+" + std::to_string(number));
        const std::vector<Frame> frames =
            framesForLayout(*layoutKindForNumber(number), 3, visible, 8);
        EXPECT_EQ(frameOf(1), frames[0]) << number;
        EXPECT_EQ(frameOf(3), frames[1]) << number;
        EXPECT_EQ(frameOf(5), frames[2]) << number;
        EXPECT_EQ(frameOf(2), (Frame{1100, 40, 100, 100})) << "another display";
        EXPECT_EQ(frameOf(4), (Frame{30, 60, 100, 100})) << "hidden";
    }

    // The layout chord cycles per display: display 1 continues after 6, display 2 starts at 1.
    press("ctrl+opt+l");
    EXPECT_EQ(frameOf(1), framesForLayout(LayoutKind::halves, 3, visible, 8)[0]);
    press("ctrl+opt+l");
    EXPECT_EQ(frameOf(1), framesForLayout(LayoutKind::thirds, 3, visible, 8)[0]);
    system.focused = 2;
    press("ctrl+opt+l");
    EXPECT_EQ(frameOf(2), frameForTile(TileSlot::leftHalf, system.displayList[1].visibleFrame, 8));
}

TEST_F(AppTilingTest, display_moves_keep_the_tile_and_one_display_shows_the_notice) {
    start();
    system.windowList = {window(1, "a", tile(TileSlot::leftHalf))};
    system.focused = 1;
    press("ctrl+opt+rightbracket");
    EXPECT_EQ(frameOf(1), tile(TileSlot::leftHalf, 1));
    press("ctrl+opt+rightbracket");  // wraps around
    EXPECT_EQ(frameOf(1), tile(TileSlot::leftHalf, 0));
    press("ctrl+opt+leftbracket");
    EXPECT_EQ(frameOf(1), tile(TileSlot::leftHalf, 1));
    EXPECT_FALSE(system.noticeText);

    system.displayList.pop_back();
    system.windowList = {window(1, "a", tile(TileSlot::rightHalf))};
    system.writes.clear();
    press("ctrl+opt+leftbracket");
    EXPECT_TRUE(system.writes.empty());
    EXPECT_EQ(system.noticeText, std::string(DisplayNotice::onlyOne));
    EXPECT_EQ(system.noticeFrame,
              displayNoticeFrame(tile(TileSlot::rightHalf),
                                 system.noticeSize(std::string(DisplayNotice::onlyOne)),
                                 system.displayList[0].visibleFrame));
    system.advance(DisplayNotice::seconds - 0.01);
    EXPECT_TRUE(system.noticeText);
    system.advance(0.02);
    EXPECT_FALSE(system.noticeText);
}

TEST_F(AppTilingTest, rules_place_a_window_when_it_appears) {
    start(R"([general]
animate_tiles = true
[rules.term]
bundle = "org.example.terminal"
tile = "right-half"
display = 2
[rules.inbox]
bundle = "org.example.mail"
title = "^Inbox"
tile = "left-third"
[rules.named]
app = "Firefox"
tile = "bottom-half"
[rules.far]
bundle = "org.example.far"
tile = "top-half"
display = 7
[rules.missing]
app = "Not Installed Anywhere"
tile = "fill"
[rules.broken]
bundle = "org.example.mail"
title = "(unclosed"
tile = "fill"
[apps.news]
url = "https://news.example.com"
tile = "right-third"
)");
    struct Case {
        WindowInfo window;
        std::optional<Frame> placed;
    };
    WindowInfo firefox = window(4, "firefox-esr", {5, 40, 100, 100});
    firefox.appAliases = {"Navigator", "Firefox"};
    const Case cases[] = {
        {window(1, "org.example.terminal", {5, 40, 100, 100}), tile(TileSlot::rightHalf, 1)},
        {window(2, "org.example.mail", {5, 40, 100, 100}, "Inbox (3)"), tile(TileSlot::leftThird)},
        {window(3, "org.example.mail", {5, 40, 100, 100}, "Compose"), std::nullopt},
        {firefox, tile(TileSlot::bottomHalf)},
        {window(5, "org.example.far", {1100, 40, 100, 100}), tile(TileSlot::topHalf, 1)},
        {window(6, "app.halyward.web.news", {5, 40, 100, 100}), tile(TileSlot::rightThird)},
        {window(7, "org.example.other", {5, 40, 100, 100}), std::nullopt},
    };
    for (const Case& c : cases) {
        system.windowList = {c.window};
        system.writes.clear();
        core->windowAppeared(c.window);
        // A new window goes straight to its tile, in one write, even with animation on.
        if (c.placed) {
            EXPECT_EQ(system.writes.size(), 1u) << c.window.id;
            EXPECT_EQ(frameOf(c.window.id), *c.placed) << c.window.id;
        } else {
            EXPECT_TRUE(system.writes.empty()) << c.window.id;
        }
    }
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("“broken”"), std::string::npos) << reports[0];

    // The web app's tile is where it opens; its pop-ups are left where they open.
    const WindowInfo popup = window(8, "app.halyward.web.news", {5, 40, 100, 100});
    system.windowList = {popup, window(6, "app.halyward.web.news", tile(TileSlot::rightThird))};
    system.writes.clear();
    core->windowAppeared(popup);
    EXPECT_TRUE(system.writes.empty());
}

TEST_F(AppTilingTest, auto_tile_lays_out_new_windows_that_no_rule_places) {
    start(R"([general]
animate_tiles = false
auto_tile = true
[rules.term]
bundle = "org.example.terminal"
tile = "right-third"
)");
    system.windowList = {window(1, "a", {5, 40, 100, 100}),
                         window(2, "org.example.terminal", tile(TileSlot::rightThird))};
    system.focused = 1;
    const WindowInfo fresh = window(3, "b", {50, 60, 100, 100});
    system.windowList.insert(system.windowList.begin(), fresh);
    core->windowAppeared(fresh);
    EXPECT_EQ(frameOf(3), tile(TileSlot::leftHalf));
    EXPECT_EQ(frameOf(1), tile(TileSlot::rightHalf));
    EXPECT_EQ(frameOf(2), tile(TileSlot::rightThird)) << "the rule's window keeps its tile";

    // The display's own layout is kept for the next newcomer.
    press("ctrl+opt+3");
    const WindowInfo another = window(4, "c", {50, 60, 100, 100});
    system.windowList.insert(system.windowList.begin(), another);
    core->windowAppeared(another);
    EXPECT_EQ(frameOf(4), tile(TileSlot::topLeft));

    // A window that closes leaves no gap.
    system.remove(4);
    core->windowVanished(4);
    EXPECT_EQ(frameOf(3), tile(TileSlot::topLeft));
    EXPECT_EQ(frameOf(1), tile(TileSlot::topRight));
}

TEST_F(AppTilingTest, animation_follows_the_clock_and_ends_exactly_on_the_tile) {
    start("[general]\nanimate_tiles = true\n");
    const Frame from{100, 100, 300, 300};
    system.windowList = {window(1, "a", from)};
    system.focused = 1;
    press("ctrl+opt+f");
    const Frame target = tile(TileSlot::fill);
    EXPECT_TRUE(system.writes.empty()) << "the first frame waits for the first tick";
    system.advance(TileMotion::duration + 0.05);
    ASSERT_GE(system.writes.size(), 10u);
    EXPECT_EQ(system.writes.back().frame, target);
    for (const FrameWrite& write : system.writes) {
        EXPECT_EQ(write.order, TileMotion::attributeOrder(from, target));
    }
    // Frames follow the eased curve, so the middle frame is past the middle of the way.
    const Frame middle = system.writes[system.writes.size() / 2].frame;
    EXPECT_GT(middle.width - from.width, (target.width - from.width) / 2);
    EXPECT_EQ(system.pendingTimers(), 0u);

    // A move that shrinks the window writes its size first.
    system.writes.clear();
    press("ctrl+opt+1");
    system.advance(1);
    EXPECT_EQ(system.writes.back(),
              (FrameWrite{1, tile(TileSlot::leftHalf), AxisWrite::sizeThenPosition}));
}

TEST_F(AppTilingTest, animation_skips_to_the_tile_on_slow_writes_and_stops_for_vanished_windows) {
    start("[general]\nanimate_tiles = true\n");
    system.windowList = {window(1, "a", {100, 100, 300, 300}),
                         window(2, "b", {600, 100, 300, 300})};
    system.focused = 1;
    system.writeCost = TileMotion::slowWrite * 2;
    press("ctrl+opt+f");
    system.advance(1.0 / 60);
    ASSERT_EQ(system.writes.size(), 2u);
    EXPECT_EQ(system.writes.back().frame, tile(TileSlot::fill));
    system.advance(1);
    EXPECT_EQ(system.writes.size(), 2u);

    // Vanishing mid-way: the next write fails and nothing more is tried.
    system.writeCost = 0;
    system.writes.clear();
    system.focused = 2;
    press("ctrl+opt+f");
    system.advance(0.05);
    const std::size_t before = system.writes.size();
    EXPECT_GT(before, 0u);
    system.remove(2);
    system.advance(1);
    EXPECT_EQ(system.writes.size(), before);
    EXPECT_EQ(system.pendingTimers(), 0u);

    // A window manager that ignores the moves: the animation still ends, once.
    system.obeysMoves = false;
    system.writes.clear();
    system.focused = 1;
    system.find(1)->frame = {100, 100, 300, 300};
    press("ctrl+opt+shift+h");
    system.advance(1);
    EXPECT_EQ(system.writes.back().frame, tile(TileSlot::leftHalf));
    EXPECT_EQ(system.pendingTimers(), 0u);
}
