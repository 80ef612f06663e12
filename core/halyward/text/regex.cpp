#include "halyward/text/regex.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>

namespace halyward::text {

namespace {

pcre2_code* asCode(void* code) { return static_cast<pcre2_code*>(code); }

struct MatchDataDeleter {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};

}  // namespace

void Regex::CodeDeleter::operator()(void* code) const { pcre2_code_free(asCode(code)); }

Regex::Regex(std::string_view pattern, RegexSubjects subjects) {
    uint32_t options = PCRE2_UTF | PCRE2_UCP;
    anyBytes_ = subjects == RegexSubjects::anyBytes;
    if (anyBytes_) options |= PCRE2_MATCH_INVALID_UTF;
    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    // An empty view may carry a null pointer, which older PCRE2 releases refuse.
    const auto* source = reinterpret_cast<PCRE2_SPTR>(pattern.empty() ? "" : pattern.data());
    code_.reset(pcre2_compile(source, pattern.size(), options, &errorCode, &errorOffset, nullptr));
    if (!code_) {
        PCRE2_UCHAR buffer[256];
        const int length = pcre2_get_error_message(errorCode, buffer, sizeof buffer);
        error_ = length < 0 ? "error " + std::to_string(errorCode)
                            : std::string(reinterpret_cast<const char*>(buffer),
                                          static_cast<std::size_t>(length));
        return;
    }
    // Without JIT support (or memory for it) the interpreter gives the same answers.
    jit_ = pcre2_jit_compile(asCode(code_.get()), PCRE2_JIT_COMPLETE) == 0;
}

std::optional<std::vector<std::optional<std::string_view>>> Regex::search(
    std::string_view subject) const {
    if (!code_) return std::nullopt;
    pcre2_code* code = asCode(code_.get());
    const std::unique_ptr<pcre2_match_data, MatchDataDeleter> data(
        pcre2_match_data_create_from_pattern(code, nullptr));
    if (!data) return std::nullopt;
    const auto* bytes = reinterpret_cast<PCRE2_SPTR>(subject.empty() ? "" : subject.data());
    // pcre2_match runs the JIT code too, after checking the subject's UTF-8; the direct
    // JIT entry skips that check, so it is only taken when invalid UTF-8 is allowed anyway.
    const int rc = jit_ && anyBytes_
                       ? pcre2_jit_match(code, bytes, subject.size(), 0, 0, data.get(), nullptr)
                       : pcre2_match(code, bytes, subject.size(), 0, 0, data.get(), nullptr);
    if (rc <= 0) return std::nullopt;
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data.get());
    std::vector<std::optional<std::string_view>> groups(pcre2_get_ovector_count(data.get()));
    // Only the first `rc` pairs are set; groups above them took no part in the match.
    const std::size_t set = std::min(groups.size(), static_cast<std::size_t>(rc));
    for (std::size_t group = 0; group < set; ++group) {
        const PCRE2_SIZE start = ovector[2 * group];
        const PCRE2_SIZE end = ovector[2 * group + 1];
        if (start == PCRE2_UNSET || end < start) continue;
        groups[group] = subject.substr(start, end - start);
    }
    return groups;
}

}  // namespace halyward::text
