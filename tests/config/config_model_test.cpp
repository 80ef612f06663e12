#include "halyward/config/config.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

using namespace halyward;

TEST(config_model, setting_texts_are_trimmed_and_case_folded) {
    using Text = std::optional<std::string_view>;
    struct Case {
        Text text;
        WindowChrome chrome;
        TitlebarDoubleClick action;
    };
    const Case cases[] = {
        {std::nullopt, WindowChrome::slim, TitlebarDoubleClick::zoom},
        {" MacOS \n", WindowChrome::standard, TitlebarDoubleClick::zoom},
        {"\xC2\xA0STANDARD", WindowChrome::standard, TitlebarDoubleClick::zoom},
        {"Minimize\n", WindowChrome::slim, TitlebarDoubleClick::minimize},
        {" NONE ", WindowChrome::slim, TitlebarDoubleClick::none},
        {"Maximize", WindowChrome::slim, TitlebarDoubleClick::zoom},
        {std::string_view("\xFF\0", 2), WindowChrome::slim, TitlebarDoubleClick::zoom},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(parseWindowChrome(c.text), c.chrome) << c.text.value_or("<none>");
        EXPECT_EQ(titlebarDoubleClickAction(c.text), c.action) << c.text.value_or("<none>");
    }
}

TEST(config_model, nearest_gap_preset_breaks_ties_toward_the_smaller) {
    struct Case {
        double gap;
        TileGapPreset preset;
    };
    const Case cases[] = {
        {-5, TileGapPreset::none},      {4, TileGapPreset::none},
        {4.01, TileGapPreset::small},   {12, TileGapPreset::small},
        {12.01, TileGapPreset::medium}, {20, TileGapPreset::medium},
        {100, TileGapPreset::large},    {std::nan(""), TileGapPreset::none},
    };
    for (const Case& c : cases) EXPECT_EQ(nearestTileGapPreset(c.gap), c.preset) << c.gap;
    for (TileGapPreset preset : allTileGapPresets) {
        EXPECT_EQ(parseTileGapPreset(rawValue(preset)), preset);
        EXPECT_EQ(nearestTileGapPreset(points(preset)), preset);
    }
}
