#include "halyward/text/regex.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>

namespace halyward::text {

namespace {

pcre2_code* asCode(void* code) { return static_cast<pcre2_code*>(code); }
pcre2_match_data* asData(void* data) { return static_cast<pcre2_match_data*>(data); }

constexpr std::pair<std::size_t, std::size_t> kNoGroup{std::string_view::npos,
                                                       std::string_view::npos};

}  // namespace

void Regex::CodeDeleter::operator()(void* code) const { pcre2_code_free(asCode(code)); }

void RegexMatch::DataDeleter::operator()(void* data) const { pcre2_match_data_free(asData(data)); }

std::pair<std::size_t, std::size_t> RegexMatch::group(std::size_t index) const {
    if (index >= set_) return kNoGroup;
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(asData(data_.get()));
    const PCRE2_SIZE start = ovector[2 * index];
    const PCRE2_SIZE end = ovector[2 * index + 1];
    if (start == PCRE2_UNSET || end < start) return kNoGroup;
    return {start, end};
}

std::optional<std::string_view> RegexMatch::group(std::string_view subject,
                                                  std::size_t index) const {
    const auto [start, end] = group(index);
    if (start == std::string_view::npos || end > subject.size()) return std::nullopt;
    return subject.substr(start, end - start);
}

Regex::Regex(std::string_view pattern, RegexSubjects subjects) {
    uint32_t options = PCRE2_UTF | PCRE2_UCP;
    if (subjects == RegexSubjects::anyBytes) options |= PCRE2_MATCH_INVALID_UTF;
    if (subjects == RegexSubjects::bytes) options = 0;
    anyBytes_ = subjects != RegexSubjects::validUTF8;
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
    pcre2_pattern_info(asCode(code_.get()), PCRE2_INFO_CAPTURECOUNT, &groups_);
    // Without JIT support (or memory for it) the interpreter gives the same answers.
    jit_ = pcre2_jit_compile(asCode(code_.get()), PCRE2_JIT_COMPLETE) == 0;
}

bool Regex::find(std::string_view subject, std::size_t offset, RegexMatch& match) const {
    match.set_ = 0;
    if (!code_ || offset > subject.size()) return false;
    pcre2_code* code = asCode(code_.get());
    // The match data grows to the largest pattern it has served and is then reused, so
    // only the first search with a given RegexMatch allocates.
    if (!match.data_ || match.capacity_ < groups_ + 1) {
        match.data_.reset(pcre2_match_data_create(groups_ + 1, nullptr));
        match.capacity_ = match.data_ ? groups_ + 1 : 0;
        if (!match.data_) return false;
    }
    pcre2_match_data* data = asData(match.data_.get());
    const auto* bytes = reinterpret_cast<PCRE2_SPTR>(subject.empty() ? "" : subject.data());
    // pcre2_match runs the JIT code too, after checking the subject's UTF-8; the direct
    // JIT entry skips that check, so it is only taken when any bytes are allowed anyway.
    const int rc = jit_ && anyBytes_
                       ? pcre2_jit_match(code, bytes, subject.size(), offset, 0, data, nullptr)
                       : pcre2_match(code, bytes, subject.size(), offset, 0, data, nullptr);
    if (rc <= 0) return false;
    // Only the first `rc` pairs are set; groups above them took no part in the match.
    match.set_ = std::min(static_cast<std::uint32_t>(rc), pcre2_get_ovector_count(data));
    return true;
}

std::optional<std::vector<std::optional<std::string_view>>> Regex::search(
    std::string_view subject) const {
    thread_local RegexMatch match;
    if (!find(subject, 0, match)) return std::nullopt;
    std::vector<std::optional<std::string_view>> groups(groups_ + 1);
    for (std::size_t group = 0; group < groups.size(); ++group) {
        groups[group] = match.group(subject, group);
    }
    return groups;
}

bool Regex::matches(std::string_view subject) const {
    thread_local RegexMatch match;
    return find(subject, 0, match);
}

}  // namespace halyward::text
