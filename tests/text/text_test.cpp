#include "halyward/text/text.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace halyward::text;

TEST(text, trim_removes_unicode_white_space_and_keeps_stray_bytes) {
    struct Case {
        std::string in, out;
    };
    const Case cases[] = {
        {"  a b \t\n", "a b"},
        {"\xC2\xA0x\xE2\x80\xA8", "x"},    // NBSP and LINE SEPARATOR
        {"\xE3\x80\x80\xE3\x80\x80", ""},  // ideographic spaces only
        {" \xFF ", "\xFF"},                // invalid byte is content
        {" \xE2\x80", "\xE2\x80"},         // truncated sequence is content
        {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(trim(c.in), c.out) << c.in;
    EXPECT_EQ(trimBlanks(" \t a \n\t "), "a \n");
}

TEST(text, graphemes_keep_combining_marks_emoji_and_crlf_together) {
    struct Case {
        std::string in;
        std::size_t count;
    };
    const Case cases[] = {
        {"abc", 3},
        {"e\xCC\x81x", 2},                                    // e + combining acute, x
        {"\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB", 1},  // ZWJ sequence
        {"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA", 1},              // flag: regional indicators
        {"\r\n", 1},
        {"\xFF\xFE", 2},  // each invalid byte alone
        {"a\xCC", 2},     // truncated mark is its own byte
    };
    for (const auto& c : cases) EXPECT_EQ(graphemeCount(c.in), c.count) << c.in;
}

TEST(text, decoding_rejects_overlong_surrogates_and_out_of_range) {
    const std::string bad[] = {
        "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xE2\x82", "\x80"};
    for (const auto& s : bad)
        EXPECT_EQ(std::pair(decodeAt(s, 0).value, decodeAt(s, 0).length),
                  std::pair(U'\uFFFD', std::size_t{1}));
    for (char32_t c : {U'a', U'\u00E9', U'\u20AC', U'\U0001F600'}) {
        std::string encoded = "x";
        appendUTF8(encoded, c);
        const Scalar scalar = decodeAt(encoded, 1);
        EXPECT_EQ(std::pair(scalar.value, scalar.length), std::pair(c, encoded.size() - 1));
    }
    EXPECT_EQ(repairedUTF8("a\xC0\x80\xE2\x82\xAC"
                           "b\xE2\x82"),
              "a\xEF\xBF\xBD\xEF\xBF\xBD\xE2\x82\xAC"
              "b\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(text, case_mapping_and_classes_follow_unicode) {
    EXPECT_EQ(lowercased("ÀBÇ Straße \xFF"), "àbç straße \xFF");
    EXPECT_EQ(lowercased("\u0130stanbul \xC4"), "i\u0307stanbul \xC4");  // full mapping
    EXPECT_EQ(quoted("a b"), "\u201Ca b\u201D");
    EXPECT_EQ(uppercased("àb"), "ÀB");
    EXPECT_TRUE(isLetterOrNumber(U'\u0661') && isNumber(U'\u00BD') &&
                isLetter(U'\u4E2D'));  // ١ ½ 中
    EXPECT_FALSE(isLetterOrNumber(U'_') || isLetterOrNumber(U'\u00A0'));
    EXPECT_TRUE(isWhitespaceCharacter("\r\n"));
    EXPECT_TRUE(isLineBreak(U'\u0085'));
}

TEST(text, terminal_safe_text_shows_control_characters_instead_of_obeying_them) {
    const std::pair<std::string, std::string> cases[] = {
        {"Mail \u201CNotes\u201D\n\tindented", "Mail \u201CNotes\u201D\n\tindented"},
        {"\x1b]0;owned\x07title", "\\x1b]0;owned\\x07title"},  // sets the window title
        {"\x1b[2J\x1b[H", "\\x1b[2J\\x1b[H"},                  // clears the screen
        {"ok\rfake", "ok\\x0dfake"},
        {std::string("nul\0del\x7f", 8), "nul\\x00del\\x7f"},
        {"\xC2\x9B"
         "31m",
         "\\u009b31m"},  // the one-character form of ESC [
        {"\xC2\x85next", "\\u0085next"},
        {"bad \xFF\xC3 bytes", "bad \uFFFD\uFFFD bytes"},
        {"\u00e9\u0301 \U0001F600 \uFFFD", "\u00e9\u0301 \U0001F600 \uFFFD"},
    };
    for (const auto& [raw, shown] : cases) EXPECT_EQ(terminalSafe(raw), shown) << shown;
}
