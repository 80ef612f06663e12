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
        {"<[^>]*>", "<a \xE9>", RegexSubjects::anyBytes, std::nullopt},  // é in Latin-1
        {"<[^>]*>", "<a \xE9>", RegexSubjects::bytes, Groups{"<a \xE9>"}},
        {R"(\s)", "\xC3\xA0", RegexSubjects::bytes, std::nullopt},      // no Latin-1 NBSP
        {"(?i)K", "\xE2\x84\xAA", RegexSubjects::bytes, std::nullopt},  // Kelvin sign
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

TEST(regex, find_resumes_at_an_offset_and_reports_byte_positions) {
    // A scan that resumes at each match's end, as the page scanners do; \b still sees the
    // byte before the offset, and broken UTF-8 between matches does not stop the scan.
    const Regex word(R"(\b(a)(x)?(b+)\b)", RegexSubjects::anyBytes);
    const std::string subject = "ab ca abb \xFF ab";
    RegexMatch match;
    std::vector<std::pair<std::size_t, std::size_t>> found;
    for (std::size_t offset = 0; word.find(subject, offset, match); offset = match.end()) {
        found.emplace_back(match.begin(), match.end());
        EXPECT_EQ(match.group(subject, 1), "a");
        EXPECT_EQ(match.group(subject, 2), std::nullopt) << "a group that took no part";
        EXPECT_EQ(match.group(2).first, std::string_view::npos);
        EXPECT_EQ(match.group(subject, 9), std::nullopt) << "no such group";
    }
    EXPECT_EQ(found, (std::vector<std::pair<std::size_t, std::size_t>>{{0, 2}, {6, 9}, {12, 14}}));
    EXPECT_FALSE(word.find(subject, 4, match) && match.begin() == 4) << "\\b sees the c before";
    EXPECT_FALSE(word.find(subject, subject.size() + 1, match));

    // One RegexMatch serves patterns of any number of groups, growing once.
    const Regex many("(1)(2)(3)(4)(5)(6)(7)(8)(9)(10)");
    ASSERT_TRUE(many.find("0123456789100", 0, match));
    EXPECT_EQ(match.group("0123456789100", 10), "10");
    EXPECT_FALSE(Regex("(").find("(", 0, match));
}
