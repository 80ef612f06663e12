#include "halyward/web/badge.hpp"

#include "halyward/text/regex.hpp"

#include <array>
#include <charconv>

namespace halyward {

namespace {

// Tried in this order: a count at the very start wins over one at the end. Page titles
// are Unicode text with no promise of valid UTF-8, so a broken title is still searched.
const std::array<text::Regex, 2>& patterns() {
    static const std::array<text::Regex, 2> compiled{
        text::Regex(R"(^\((\d+)\))", text::RegexSubjects::anyBytes),
        text::Regex(R"(\((\d+)\)\s*$)", text::RegexSubjects::anyBytes),
    };
    return compiled;
}

std::optional<std::int64_t> firstGroupNumber(const text::Regex& pattern, std::string_view title) {
    const auto groups = pattern.search(title);
    if (!groups || groups->size() < 2 || !(*groups)[1]) return std::nullopt;
    const std::string_view digits = *(*groups)[1];
    // Digits of other scripts match \d but are not a decimal number here, and neither is a
    // count beyond 64 bits; both leave the title without a count from this pattern.
    std::int64_t value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

}  // namespace

std::optional<std::int64_t> badgeCount(std::string_view title) {
    for (const text::Regex& pattern : patterns()) {
        if (auto count = firstGroupNumber(pattern, title)) return count;
    }
    return std::nullopt;
}

}  // namespace halyward
