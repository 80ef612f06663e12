#include "halyward/tiling/layout.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tiling_test_support.hpp"

namespace halyward {
namespace {

TEST(layout, main_tile_first_then_stacked_rows) {
    for (std::int64_t n : {0, -1, 7}) EXPECT_EQ(layoutKindForNumber(n), std::nullopt) << n;
    EXPECT_EQ(framesForLayout(LayoutKind::halves, 3, Frame{0, 0, 1000, 800}, 0),
              (std::vector<Frame>{{0, 0, 500, 800}, {500, 0, 500, 400}, {500, 400, 500, 400}}));
    const Frame screen{0, 25, 1440, 875};
    const auto tile = [&](TileSlot s) { return frameForTile(s, screen, 10); };
    EXPECT_EQ(framesForLayout(LayoutKind::stackMain, -3, screen, 10),
              std::vector<Frame>{tile(TileSlot::rightTwoThirds)});
    const auto thirds = framesForLayout(LayoutKind::thirds, 5, screen, 10);
    EXPECT_EQ(thirds[1], tile(TileSlot::centerThird));
    EXPECT_EQ(std::vector<Frame>(thirds.begin() + 2, thirds.end()),
              stack(tile(TileSlot::rightThird), 3, 10));
    const auto six = framesForLayout(LayoutKind::quarters, 6, screen, 10);
    EXPECT_EQ(six[2], tile(TileSlot::bottomLeft));
    EXPECT_EQ(std::vector<Frame>(six.begin() + 3, six.end()),
              stack(tile(TileSlot::bottomRight), 3, 10));
}

TEST(layout, stack_puts_gaps_only_between_rows) {
    const auto rows = stack(Frame{5, 50, 300, 100}, 3, 10);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_DOUBLE_EQ(rows[2].height, 80.0 / 3);
    EXPECT_DOUBLE_EQ(rows[2].y, 50 + 2 * (10 + 80.0 / 3));
    EXPECT_EQ(stack(Frame{1, 2, 3, 4}, 0, 10), (std::vector<Frame>{{1, 2, 3, 4}}));
    // Rows too thin for their gaps keep a point each; a NaN gap is no gap.
    EXPECT_EQ(stack(Frame{0, 0, 10, 10}, 2, 100)[1], (Frame{0, 101, 10, 1}));
}

TEST(layout, one_frame_per_window_inside_the_screen_without_overlap) {
    for (const Frame& screen :
         {Frame{0, 25, 1440, 875}, Frame{-2560, -400, 2560, 1415}, Frame{0, 0, 40, 30}}) {
        for (double gap : {0.0, 8.0, 12.5, 200.0}) {
            const bool roomy = screen.width > 4 * gap + 3 && screen.height > 17 * gap + 16;
            for (LayoutKind kind : allLayoutKinds) {
                for (std::int64_t count = -1; count <= 9; ++count) {
                    SCOPED_TRACE(std::string(rawValue(kind)) + " x" + std::to_string(count) +
                                 " gap " + std::to_string(gap));
                    const auto frames = framesForLayout(kind, count, screen, gap);
                    ASSERT_EQ(frames.size(), static_cast<std::size_t>(count > 1 ? count : 1));
                    for (std::size_t i = 0; i < frames.size(); ++i) {
                        EXPECT_TRUE(frames[i].width >= 1 && frames[i].height >= 1);
                        EXPECT_TRUE(!roomy || inside(frames[i], screen)) << i;
                        for (std::size_t j = i + 1; j < frames.size(); ++j) {
                            EXPECT_FALSE(overlaps(frames[i], frames[j])) << i << " / " << j;
                        }
                    }
                }
            }
        }
    }
}

TEST(layout, infer_slot_recognises_every_tile_and_prefers_the_earlier_on_ties) {
    for (const Frame& screen : {Frame{0, 25, 1440, 875}, Frame{-1920, 0, 1920, 1080}}) {
        for (TileSlot slot : allTileSlots) {
            Frame f = frameForTile(slot, screen, 10);
            EXPECT_EQ(inferSlot(f, screen, 10, 0), slot);
            f.x += 7;
            f.height -= 8;  // 15 points off: within 4 × 4, not within 4 × 3.
            EXPECT_EQ(inferSlot(f, screen, 10, 4), slot);
            EXPECT_EQ(inferSlot(f, screen, 10, 3), std::nullopt);
        }
    }
    // Halfway between left-half and left-third: equal error, the earlier case wins.
    const Frame screen{0, 0, 1200, 800};
    EXPECT_EQ(inferSlot(Frame{0, 0, 500, 800}, screen, 0, 100), TileSlot::leftHalf);
    EXPECT_EQ(inferSlot(Frame{NAN, 0, 600, 800}, screen, 0, 1e9), std::nullopt);
}

TEST(layout, adjacent_slots_lead_back_except_off_two_thirds) {
    int links = 0;
    for (TileSlot from : allTileSlots) {
        for (Direction d : allDirections) {
            const auto to = adjacentSlot(from, d);
            if (!to) continue;
            ++links;
            // Opposite directions are neighbouring cases: left/right, up/down.
            const auto back = static_cast<Direction>(static_cast<int>(d) ^ 1);
            const bool twoThirds =
                from == TileSlot::leftTwoThirds || from == TileSlot::rightTwoThirds;
            EXPECT_EQ(adjacentSlot(*to, back) == from, !twoThirds) << rawValue(from);
        }
    }
    EXPECT_EQ(links, 18);
    EXPECT_EQ(adjacentSlot(TileSlot::leftTwoThirds, Direction::right), TileSlot::rightThird);
    EXPECT_EQ(adjacentSlot(TileSlot::topLeft, Direction::down), TileSlot::bottomLeft);
}

}  // namespace
}  // namespace halyward
