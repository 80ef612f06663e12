#include "halyward/webapps/html_scan.hpp"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

namespace halyward::detail {

Regex::Regex(std::string_view pattern) {
    int error = 0;
    PCRE2_SIZE errorOffset = 0;
    code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), 0, &error,
                          &errorOffset, nullptr);
    if (!code_) return;  // find() then matches nothing
    // Without JIT (an unsupported CPU, a hardened kernel) the interpreter gives the same
    // answers, only more slowly.
    pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
}

Regex::~Regex() { pcre2_code_free(code_); }

std::string_view Regex::Match::group(std::string_view subject, int index) const {
    const auto& [begin, end] = groups[index - 1];
    if (begin == std::string_view::npos) return {};
    return subject.substr(begin, end - begin);
}

std::optional<Regex::Match> Regex::find(std::string_view subject, std::size_t offset) const {
    if (!code_ || offset > subject.size()) return std::nullopt;
    // Every pattern here has at most three groups, so one block of match data per thread
    // serves them all and a page of many tags costs no allocation per match.
    thread_local const std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data(
        pcre2_match_data_create(4, nullptr), &pcre2_match_data_free);
    if (!data) return std::nullopt;
    const int result = pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(subject.data()),
                                   subject.size(), offset, 0, data.get(), nullptr);
    if (result < 0) return std::nullopt;
    const PCRE2_SIZE* vector = pcre2_get_ovector_pointer(data.get());
    const std::uint32_t pairs = pcre2_get_ovector_count(data.get());
    Match match;
    match.begin = vector[0];
    match.end = vector[1];
    for (std::uint32_t group = 1; group <= 3; ++group) {
        const bool set = group < pairs && static_cast<int>(group) < result &&
                         vector[2 * group] != PCRE2_UNSET;
        match.groups[group - 1][0] = set ? vector[2 * group] : std::string_view::npos;
        match.groups[group - 1][1] = set ? vector[2 * group + 1] : std::string_view::npos;
    }
    return match;
}

std::string_view throughLastTagEnd(std::string_view html) {
    const std::size_t last = html.rfind('>');
    return last == std::string_view::npos ? std::string_view() : html.substr(0, last + 1);
}

}  // namespace halyward::detail
