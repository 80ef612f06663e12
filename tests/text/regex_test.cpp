#include "halyward/text/regex.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using namespace halyward::text;

TEST(regex, search_gives_the_whole_match_and_each_group) {
    using Groups = std::vector<std::optional<std::string_view>>;
    struct Case {
        std::string pattern, subject;
        RegexSubjects subjects;
        std::optional<Groups> groups;
    };
    const Case cases[] = {
        {R"(\((\d+)\))", "Inbox (12) x", RegexSubjects::validUTF8, Groups{"(12)", "12"}},
        {R"(^(a)|(b))", "b", RegexSubjects::validUTF8, Groups{"b", std::nullopt, "b"}},
        {R"((x)?y)", "y", RegexSubjects::validUTF8, Groups{"y", std::nullopt}},
        {R"(\d)", "\u0663", RegexSubjects::validUTF8, Groups{"\u0663"}},  // Unicode digits
        {R"(\s$)", "a\u00A0", RegexSubjects::validUTF8, Groups{"\u00A0"}},
        {"b", "a\xFF b", RegexSubjects::validUTF8, std::nullopt},  // broken subject
        {"b", "a\xFF b", RegexSubjects::anyBytes, Groups{"b"}},
        {"z", "", RegexSubjects::validUTF8, std::nullopt},
        {"", "", RegexSubjects::validUTF8, Groups{""}},
    };
    for (const Case& c : cases) {
        const Regex regex(c.pattern, c.subjects);
        ASSERT_TRUE(regex.valid()) << c.pattern << ": " << regex.error();
        EXPECT_EQ(regex.search(c.subject), c.groups) << c.pattern << " in " << c.subject;
        EXPECT_EQ(regex.matches(c.subject), c.groups.has_value()) << c.pattern;
    }
}

TEST(regex, a_pattern_that_does_not_compile_says_why_and_never_matches) {
    for (const char* pattern : {"(unclosed", "[z-a]", "a{2,1}", "\xFF"}) {
        const Regex regex(pattern);
        EXPECT_FALSE(regex.valid()) << pattern;
        EXPECT_FALSE(regex.error().empty()) << pattern;
        EXPECT_FALSE(regex.matches(pattern)) << pattern;
    }
    EXPECT_EQ(Regex("(unclosed").error(), "missing closing parenthesis");
}
