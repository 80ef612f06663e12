#include "halyward/tiling/motion.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "tiling_test_support.hpp"

namespace halyward {
namespace {

// A 10 × 10 window centred on (cx, cy).
WindowBox box(std::string id, double cx, double cy) {
    return {std::move(id), Frame{cx - 5, cy - 5, 10, 10}};
}

TEST(neighbor_window, ranks_by_alignment_within_eight_points_then_by_distance) {
    const struct {
        const char* name;
        Direction direction;
        std::vector<WindowBox> windows;
        std::optional<std::string> expected;
    } cases[] = {
        {"aligned within the band wins; 15 farther does not",
         Direction::left,
         {box("src", 500, 500), box("A", 400, 550), box("B", 395, 500), box("C", 380, 500)},
         "B"},
        {"9 points farther loses despite alignment",
         Direction::left,
         {box("src", 500, 500), box("A", 400, 550), box("C", 391, 500)},
         "A"},
        {"exactly 8 points is within the band",
         Direction::right,
         {box("src", 0, 0), box("A", 100, 30), box("B", 108, 0)},
         "B"},
        {"equal candidates keep the earlier",
         Direction::down,
         {box("A", 0, 100), box("src", 0, 0), box("B", 0, 100)},
         "A"},
        {"half a point apart is no neighbour",
         Direction::right,
         {box("src", 0, 0), box("A", 0.5, 0)},
         std::nullopt},
        {"only the asked side counts",
         Direction::up,
         {box("src", 0, 0), box("A", 0, 50), box("B", 300, -2)},
         "B"},
        {"unknown source", Direction::left, {box("A", 0, 0), box("B", -50, 0)}, std::nullopt},
        {"NaN frames never count",
         Direction::left,
         {box("src", 0, 0), box("A", NAN, 0), box("B", -20, 0)},
         "B"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(neighborWindow("src", c.direction, c.windows), c.expected) << c.name;
    }
}

TEST(tile_motion, interpolation_excludes_the_start_and_ends_on_the_target) {
    const Frame from{0, 0, 100, 100};
    const Frame to{100, -40, 300, 0.1};
    const auto frames = interpolatedFrames(from, to, 4);
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_EQ((std::vector<double>{frames[0].x, frames[1].x, frames[2].y}),
              (std::vector<double>{25, 50, -30}));
    EXPECT_EQ(frames[3], to);  // exactly, not from + (to − from) × 1
    for (std::int64_t steps : {1, 0, -5}) {
        EXPECT_EQ(interpolatedFrames(from, to, steps), std::vector<Frame>{to});
    }
}

TEST(tile_motion, ease_out_is_a_clamped_cubic_and_nan_finishes_the_move) {
    const std::pair<double, double> cases[] = {{-1, 0}, {0, 0},        {0.5, 0.875},   {1, 1},
                                               {2, 1},  {INFINITY, 1}, {-INFINITY, 0}, {NAN, 1}};
    for (const auto& [p, eased] : cases) EXPECT_EQ(TileMotion::easeOut(p), eased) << p;
    const Frame from{0, 0, 100, 100};
    const Frame to{80, 40, 20, 200};
    EXPECT_EQ(TileMotion::frame(from, to, 0.5), (Frame{70, 35, 30, 187.5}));
    EXPECT_EQ(TileMotion::frame(from, to, NAN), to);
}

TEST(tile_motion, only_windows_that_shrink_are_resized_first) {
    const Frame square{0, 0, 100, 100};
    EXPECT_EQ(TileMotion::attributeOrder(square, {5, 5, 99, 101}), AxisWrite::positionThenSize);
    EXPECT_EQ(TileMotion::attributeOrder(square, {5, 5, 50, 50}), AxisWrite::sizeThenPosition);
    EXPECT_EQ(TileMotion::attributeOrder(square, {0, 0, NAN, 1}), AxisWrite::positionThenSize);
}

TEST(switch_hint, fades_in_holds_and_fades_out_every_cycle) {
    const std::pair<double, double> cases[] = {{0, 0},     {0.54, 0},    {0.75, 0.5},  {0.95, 1},
                                               {1.5, 1},   {2.0, 0.625}, {-0.5, 1},    {1.75, 1},
                                               {3.0, 0.5}, {NAN, 0},     {INFINITY, 0}};
    for (const auto& [t, p] : cases) EXPECT_NEAR(switchHintProgress(t), p, 1e-12) << t;
}

}  // namespace
}  // namespace halyward
