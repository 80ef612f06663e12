#include "halyward/web/badge.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <charconv>
#include <memory>

namespace halyward {

namespace {

struct CodeDeleter {
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
struct MatchDataDeleter {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};
using Code = std::unique_ptr<pcre2_code, CodeDeleter>;
using MatchData = std::unique_ptr<pcre2_match_data, MatchDataDeleter>;

struct Pattern {
    Code code;
    bool jit = false;
};

// Page titles are Unicode text: \d and \s take their Unicode meaning, and a title with
// broken UTF-8 is still searched (invalid sequences simply never match) instead of being
// refused as a whole.
Pattern compile(std::string_view source) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    Pattern pattern;
    pattern.code.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(source.data()), source.size(),
                                     PCRE2_UTF | PCRE2_UCP | PCRE2_MATCH_INVALID_UTF, &error,
                                     &offset, nullptr));
    if (pattern.code) pattern.jit = pcre2_jit_compile(pattern.code.get(), PCRE2_JIT_COMPLETE) == 0;
    return pattern;
}

// Tried in this order: a count at the very start wins over one at the end.
const std::array<Pattern, 2>& patterns() {
    static const std::array<Pattern, 2> compiled{
        compile(R"(^\((\d+)\))"),
        compile(R"(\((\d+)\)\s*$)"),
    };
    return compiled;
}

std::optional<std::int64_t> firstGroupNumber(const Pattern& pattern, std::string_view title) {
    if (!pattern.code) return std::nullopt;  // a pattern that failed to compile is skipped
    MatchData data(pcre2_match_data_create_from_pattern(pattern.code.get(), nullptr));
    if (!data) return std::nullopt;
    // An empty view may carry a null pointer, which older PCRE2 releases refuse.
    const auto* subject = reinterpret_cast<PCRE2_SPTR>(title.empty() ? "" : title.data());
    const int rc =
        pattern.jit
            ? pcre2_jit_match(pattern.code.get(), subject, title.size(), 0, 0, data.get(), nullptr)
            : pcre2_match(pattern.code.get(), subject, title.size(), 0, 0, data.get(), nullptr);
    if (rc < 2) return std::nullopt;
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data.get());
    if (ovector[2] == PCRE2_UNSET || ovector[3] < ovector[2]) return std::nullopt;
    const char* first = reinterpret_cast<const char*>(subject) + ovector[2];
    const char* last = reinterpret_cast<const char*>(subject) + ovector[3];
    // Digits of other scripts match \d but are not a decimal number here, and neither is a
    // count beyond 64 bits; both leave the title without a count from this pattern.
    std::int64_t value = 0;
    const auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end != last) return std::nullopt;
    return value;
}

}  // namespace

std::optional<std::int64_t> badgeCount(std::string_view title) {
    for (const Pattern& pattern : patterns()) {
        if (auto count = firstGroupNumber(pattern, title)) return count;
    }
    return std::nullopt;
}

}  // namespace halyward
