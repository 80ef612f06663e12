#include "halyward/web/address.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace halyward;

TEST(address, parses_strictly_first_then_as_an_address_bar_would) {
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"https://example.com/a?b=c#d", "https://example.com/a?b=c#d"},
        {"/relative/path", "/relative/path"},
        {"mailto:a@b.c?subject=Hi there", "mailto:a@b.c?subject=Hi%20there"},
        {"https://example.com/my icon é.png", "https://example.com/my%20icon%20%C3%A9.png"},
        {"https://exam\tple.com/a\nb", "https://example.com/ab"},
        {"https://example.com/100%/x%41", "https://example.com/100%25/x%41"},
        {"https://example.com/#a#b", "https://example.com/#a%23b"},
        {"https://[::1]:8080/[x]", "https://[::1]:8080/%5Bx%5D"},
        {"https://example.com/\x01", "https://example.com/%01"},
        {"http://[::1", std::nullopt},
        {"https://[zz]/", std::nullopt},
    };
    for (const auto& [text, parsed] : cases) {
        const auto url = parseAddress(text);
        EXPECT_EQ(url ? std::optional<std::string>(url->buffer()) : std::nullopt, parsed) << text;
    }
}
