#include "halyward/tiling/tile_slot.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tiling_test_support.hpp"

namespace halyward {
namespace {

TEST(tile_slot, parses_names_aliases_and_rejects_the_rest) {
    const std::pair<std::string, std::optional<TileSlot>> cases[] = {
        {" Left ", TileSlot::leftHalf},
        {"MAXIMIZE", TileSlot::fill},
        {"full\n", TileSlot::fill},
        {"\tBottom", TileSlot::bottomHalf},
        {"RIGHT-TWO-THIRDS", TileSlot::rightTwoThirds},
        {"center", std::nullopt},
        {"left-halves", std::nullopt},
        {"", std::nullopt},
        {std::string("fill\0", 5), std::nullopt},
        {"\xff", std::nullopt},
        {std::string(10'000'000, 'a'), std::nullopt},
    };
    for (const auto& [text, slot] : cases) EXPECT_EQ(parseTileSlot(text), slot) << text.size();
    for (TileSlot slot : allTileSlots) EXPECT_EQ(parseTileSlot(rawValue(slot)), slot);
}

TEST(tile_slot, frames_match_worked_examples) {
    const Frame screen{0, 25, 1440, 875};
    EXPECT_EQ(frameForTile(TileSlot::leftHalf, screen, 10), (Frame{10, 35, 705, 855}));
    EXPECT_EQ(frameForTile(TileSlot::leftTwoThirds, screen, 10), (Frame{10, 35, 940, 855}));
    EXPECT_EQ(frameForTile(TileSlot::leftThird, screen, 0), (Frame{0, 25, 480, 875}));
    // Too small for the gaps: each band keeps a point and the bands overrun.
    EXPECT_EQ(bands(0, 10, {1, 1}, 10), (std::vector<Band>{{10, 1}, {21, 1}}));
    EXPECT_EQ(frameForTile(TileSlot::fill, Frame{5, 5, 10, 10}, 20), (Frame{25, 25, 1, 1}));
    // Weights that cannot be shared out fall back to equal bands.
    EXPECT_EQ(bands(0, 100, {0, 0}, 0), (std::vector<Band>{{0, 50}, {50, 50}}));
}

TEST(tile_slot, tiles_fit_their_screen_and_keep_their_floors) {
    const Frame screens[] = {{0, 25, 1440, 875}, {-1920, -200, 1920, 1080},
                             {2560, 0, 1000, 3}, {0, 0, 1, 1},
                             {0, 0, 0, 0},       {10, 10, -50, 40}};
    for (const Frame& screen : screens) {
        for (double gap : {0.0, 10.0, 37.5, -10.0, 600.0, std::nan("")}) {
            const double g = gap > 0 ? gap : 0;
            const bool roomy = screen.width > 4 * g + 3 && screen.height > 3 * g + 2;
            for (TileSlot slot : allTileSlots) {
                const Frame f = frameForTile(slot, screen, gap);
                SCOPED_TRACE(std::string(rawValue(slot)) + " gap " + std::to_string(gap));
                EXPECT_TRUE(f.width >= 1 && f.height >= 1);
                EXPECT_TRUE(!roomy || inside(f, screen));
                // A negative or NaN gap is no gap.
                EXPECT_TRUE(gap >= 0 || f == frameForTile(slot, screen, 0));
            }
        }
    }
}

TEST(tile_slot, nan_lengths_count_as_no_room_and_nan_origins_stay_nan) {
    EXPECT_EQ(frameForTile(TileSlot::leftHalf, Frame{0, 0, NAN, 800}, 10), (Frame{10, 10, 1, 780}));
    const Frame f = frameForTile(TileSlot::fill, Frame{NAN, 0, 100, NAN}, 0);
    EXPECT_TRUE(std::isnan(f.x) && f.width == 100 && f.height == 1);
}

TEST(tile_slot, app_kit_conversion_flips_y_and_round_trips) {
    const Frame f{-1920, 25.5, 300, 200};
    EXPECT_EQ(appKitFrame(f, 900), (Frame{-1920, 674.5, 300, 200}));
    EXPECT_EQ(topLeftFrame(appKitFrame(f, 900), 900), f);
}

}  // namespace
}  // namespace halyward
