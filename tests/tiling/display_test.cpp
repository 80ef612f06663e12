#include "halyward/tiling/display.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "halyward/tiling/tile_slot.hpp"
#include "tiling_test_support.hpp"

namespace halyward {
namespace {

const std::vector<Frame> threeScreens{
    {0, 0, 1000, 800}, {1000, 0, 1000, 800}, {2000, 0, 1000, 800}};

// Which of `screens` holds the centre of `frame`.
std::size_t screenOf(const Frame& frame, const std::vector<Frame>& screens) {
    for (std::size_t i = 0; i < screens.size(); ++i) {
        if (screens[i].x <= frame.midX() && frame.midX() < screens[i].maxX()) return i;
    }
    return screens.size();
}

TEST(display_move, target_index_wraps_in_both_directions_and_needs_two_screens) {
    constexpr auto big = std::numeric_limits<std::int64_t>::max();
    constexpr auto small = std::numeric_limits<std::int64_t>::min();
    struct Case {
        double x, y;
        std::int64_t delta;
        std::size_t screen;  // the screen that holds the moved window's centre
    };
    // The last two windows sit below every screen, which counts as being on the first, and
    // on no screen at all (a NaN centre), which leaves the moved frame NaN.
    const Case cases[] = {{100, 100, 1, 1},   {100, 100, -1, 2},   {100, 100, 4, 1},
                          {100, 100, 0, 0},   {100, 100, -3, 0},   {2100, 100, 1, 0},
                          {2100, 100, -4, 1}, {1100, 100, big, 2}, {1100, 100, small, 2},
                          {100, 5000, 1, 1},  {NAN, 100, -1, 3}};
    for (const Case& c : cases) {
        const auto shift = displayMove({c.x, c.y, 200, 200}, threeScreens, c.delta, 0);
        ASSERT_EQ(shift.kind(), DisplayShift::Kind::moved);
        EXPECT_EQ(screenOf(*shift.frame(), threeScreens), c.screen) << c.x << " by " << c.delta;
    }
    // A centre on the shared edge belongs to the screen on the right.
    EXPECT_EQ(screenOf(*displayMove({900, 0, 200, 100}, threeScreens, 1, 0).frame(), threeScreens),
              2u);
    for (const auto& screens : {std::vector<Frame>{}, std::vector<Frame>{{0, 0, 1440, 900}}}) {
        EXPECT_EQ(displayMove({0, 0, 10, 10}, screens, 1, 0), DisplayShift::onlyOneDisplay());
    }
}

TEST(frame_moved_to_display, keeps_tiles_and_otherwise_proportions) {
    const Frame small{0, 25, 1440, 875};
    const Frame large{1440, -200, 2560, 1415};
    for (TileSlot slot : allTileSlots) {
        Frame f = frameForTile(slot, small, 10);
        f.x += 6;
        f.width -= 20;  // 26 points off: still the same tile.
        EXPECT_EQ(frameMovedToDisplay(f, small, large, 10), frameForTile(slot, large, 10))
            << rawValue(slot);
    }
    EXPECT_EQ(frameMovedToDisplay({360, 243.75, 360, 218.75}, small, large, 10),
              (Frame{1440 + 640, -200 + 353.75, 640, 353.75}));
    // A source of no width or height maps to the whole target along that axis.
    EXPECT_EQ(frameMovedToDisplay({5, 5, 50, 50}, {0, 0, 0, 0}, {0, 0, 300, 200}, 0),
              (Frame{0, 0, 300, 200}));
    // Sizes never fall below a point, even when the ratio is NaN.
    const Frame moved =
        frameMovedToDisplay({500, 5, 0.001, 50}, {0, 0, NAN, 100}, {0, 0, 300, 200}, 0);
    EXPECT_TRUE(std::isnan(moved.x));
    EXPECT_EQ(moved.width, 1);
    EXPECT_EQ(moved.height, 100);
}

TEST(display_notice, stays_eight_points_inside_every_edge) {
    const Frame screen{100, 50, 1000, 600};
    const struct {
        const char* name;
        std::optional<Frame> anchor;
        NoticeSize size;
        Frame expected;
    } cases[] = {
        {"no anchor, short: above the top anchor point",
         std::nullopt,
         {200, 30},
         {500, 60, 200, 30}},
        {"no anchor, tall: below the top anchor point",
         std::nullopt,
         {200, 40},
         {500, 106, 200, 40}},
        {"below a window at the top edge",
         Frame{400, 60, 200, 100},
         {100, 40},
         {450, 168, 100, 40}},
        {"left edge", Frame{100, 300, 20, 100}, {100, 40}, {108, 252, 100, 40}},
        {"right edge", Frame{1080, 300, 20, 100}, {100, 40}, {992, 252, 100, 40}},
        {"bottom edge", Frame{400, 40, 200, 600}, {100, 40}, {450, 602, 100, 40}},
        {"taller than the screen", Frame{400, 300, 200, 100}, {100, 900}, {450, 58, 100, 900}},
        {"wider than the screen", std::nullopt, {5000, 30}, {108, 60, 984, 30}},
        {"NaN size takes the widest width and a point of height",
         std::nullopt,
         {NAN, NAN},
         {108, 89, 984, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(displayNoticeFrame(c.anchor, c.size, screen), c.expected) << c.name;
    }
    // A screen narrower than its margins: one point wide, and the right margin wins.
    EXPECT_EQ(displayNoticeFrame(std::nullopt, {50, 30}, {100, 50, 4, 600}),
              (Frame{95, 60, 1, 30}));
}

}  // namespace
}  // namespace halyward
