#include "halyward/tiling/tile_action.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace halyward {
namespace {

TEST(tile_action, tokens_name_each_action_and_read_back) {
    const std::pair<TileAction, const char*> cases[] = {
        {TileAction::focus(Direction::left), "tile:focus-left"},
        {TileAction::move(Direction::up), "tile:move-up"},
        {TileAction::layout(3), "tile:layout-3"},
        {TileAction::layout(-12), "tile:layout--12"},
        {TileAction::fill(), "tile:fill"},
        {TileAction::nextDisplay(), "tile:next-display"},
        {TileAction::previousDisplay(), "tile:previous-display"},
        {TileAction::exit(), "tile:exit"},
    };
    for (const auto& [action, token] : cases) {
        EXPECT_EQ(action.token(), token);
        EXPECT_EQ(parseTileAction(token), action) << token;
    }
    const auto extreme = TileAction::layout(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(parseTileAction(extreme.token()), extreme);
}

TEST(tile_action, rejects_tokens_it_would_never_write) {
    const std::string rejected[] = {
        "",
        "tile:focus-",
        "tile:focus-Left",
        " tile:fill",
        "TILE:EXIT",
        "tile:layout-",
        "tile:layout-03",
        "tile:layout-+3",
        "tile:layout--0",
        "tile:layout-99999999999999999999",
        std::string("tile:exit\0", 10),
    };
    for (const auto& token : rejected) EXPECT_EQ(parseTileAction(token), std::nullopt) << token;
}

}  // namespace
}  // namespace halyward
