#include "halyward/web/badge.hpp"

#include <gtest/gtest.h>

using namespace halyward;

TEST(badge_count, reads_a_count_in_parentheses_at_either_end) {
    struct Case {
        std::string title;
        std::optional<std::int64_t> want;
    };
    const Case cases[] = {
        {"(12) Inbox", 12},
        {"Inbox (4)", 4},
        {"Inbox (4) \t\xC2\xA0\n", 4},
        {"(0) Inbox", 0},
        {"(3)(5)", 3},
        {"Inbox (4) of mail", std::nullopt},
        {" (3) blank first", std::nullopt},
        {"( 12 ) Inbox", std::nullopt},
        {"(-1) Inbox", std::nullopt},
        {"(99999999999999999999) Inbox", std::nullopt},
        {"(99999999999999999999) Inbox (2)", 2},
        {"(\xD9\xA3) Inbox", std::nullopt},
        {"(\xD9\xA3) Inbox (5)", 5},  // Arabic-Indic three
        {"\xFF\xFE (6)", 6},
        {std::string("(8)\0 x", 6), 8},
        {"", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(badgeCount(c.title), c.want) << c.title;
}
