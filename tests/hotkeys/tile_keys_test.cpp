#include "halyward/hotkeys/tile_keys.hpp"
#include "halyward/hotkeys/focus_action.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/mac_key_codes.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace halyward;

TEST(tile_keys, table_rows_are_consistent_with_the_key_tables) {
    const auto& rows = TileKeys::bindings();
    ASSERT_EQ(rows.size(), 27u);
    std::set<std::string> ids;
    std::set<std::string> chords;
    for (const TileKeyBinding& row : rows) {
        EXPECT_TRUE(ids.insert(row.id).second) << row.id;
        // Default chords are written canonically and never shared.
        EXPECT_EQ(HotkeyParser::parse(row.defaultChord).canonical(), row.defaultChord) << row.id;
        EXPECT_TRUE(chords.insert(row.defaultChord).second) << row.id;
        // The bare key reaches this row's action by key code and by every character it types.
        auto code = MacKeyCodes::code(row.key);
        ASSERT_TRUE(code) << row.id;
        EXPECT_EQ(TileKeys::action(*code, "", row.shifted), row.action) << row.id;
        ASSERT_FALSE(row.characters.empty()) << row.id;
        for (const std::string& typed : row.characters) {
            EXPECT_EQ(TileKeys::action(0xFFFF, typed, row.shifted), row.action) << row.id;
        }
    }
}

TEST(tile_keys, overrides_replace_only_their_row_and_invalid_ones_are_ignored) {
    const auto defaults = TileKeys::resolved({});
    ASSERT_EQ(defaults.size(), TileKeys::bindings().size());
    for (std::size_t i = 0; i < defaults.size(); ++i) {
        EXPECT_EQ(std::pair(defaults[i].chord, defaults[i].token),
                  std::pair(TileKeys::bindings()[i].defaultChord,
                            TileKeys::bindings()[i].action.token()));
        EXPECT_EQ(defaults[i].note.has_value(), TileKeys::bindings()[i].note.has_value());
    }

    const auto changed = TileKeys::resolved({{"fill", "cmd+opt+F"},
                                             {"move_up", "super+u"},
                                             {"focus_l", "ctrl+opt+shift+cmd+l"},
                                             {"no_such_action", "ctrl+opt+z"}});
    for (std::size_t i = 0; i < changed.size(); ++i) {
        const std::string& id = changed[i].id;
        if (id == "fill") {
            EXPECT_EQ(changed[i].chord, "opt+cmd+f");
        } else if (id == "focus_l") {
            EXPECT_EQ(changed[i].chord, "ctrl+opt+shift+cmd+l");
            EXPECT_EQ(changed[i].note, std::nullopt);  // the note only explains the default
        } else {
            EXPECT_EQ(changed[i], defaults[i]) << id;
        }
    }
}

TEST(tile_keys, title_picks_the_row_by_token_and_chord) {
    struct Case {
        std::string token, chord, title;
    };
    const Case cases[] = {
        {"tile:focus-left", "ctrl+opt+left", "Focus left"},
        {"tile:focus-left", "ctrl+opt+h", "Focus left (H)"},
        {"tile:focus-right", "cmd+opt+ctrl+l", "Focus right (L)"},
        {"tile:focus-left", "not a chord", "Focus left"},
        {"tile:exit", "ctrl+opt+escape", "Leave tile mode (Esc)"},
        {"tile:layout-9", "ctrl+opt+9", "tile:layout-9"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TileKeys::title(c.token, c.chord, {}), c.title) << c.chord;
    EXPECT_EQ(TileKeys::title("tile:fill", "ctrl+shift+f", {{"fill", "ctrl+shift+f"}}),
              "Fill screen");
}

TEST(tile_keys, typed_capitals_still_match_and_shifted_digits_do_not) {
    struct Case {
        std::uint32_t code;
        std::string typed;
        bool shift;
        std::optional<TileAction> action;
    };
    const Case cases[] = {
        {0xFFFF, "H", false, TileAction::focus(Direction::left)},
        {0xFFFF, "L", true, TileAction::move(Direction::right)},
        {20, "#", true, std::nullopt},
        {0xFFFF, "", false, std::nullopt},
        {0xFFFF, "\xFF", false, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TileKeys::action(c.code, c.typed, c.shift), c.action) << c.code << " " << c.typed;
    }
}

TEST(focus_action, launches_focuses_cycles_or_hides) {
    struct Case {
        bool running, frontmost;
        std::int64_t windows;
        std::optional<std::int64_t> focused;
        bool cycle, hide;
        FocusAction expected;
    };
    const Case cases[] = {
        {false, true, 3, 0, true, true, FocusAction::launch()},
        {true, false, 3, 0, true, true, FocusAction::focus()},
        {true, true, 3, 2, true, false, FocusAction::cycle(0)},
        {true, true, 3, std::nullopt, true, false, FocusAction::cycle(1)},
        {true, true, 3, 0, true, false, FocusAction::cycle(1)},
        {true, true, 3, -4, true, false, FocusAction::cycle(1)},
        {true, true, 3, INT64_MAX, true, false, FocusAction::cycle(0)},
        {true, true, 1, 0, true, false, FocusAction::focus()},
        {true, true, 1, 0, true, true, FocusAction::hide()},
        {true, true, 5, 1, false, true, FocusAction::hide()},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(focusAction(c.running, c.frontmost, c.windows, c.focused, c.cycle, c.hide),
                  c.expected);
    }
}
