#pragma once
/// The library's one regular-expression engine: PCRE2 with Unicode semantics, compiled
/// to machine code (JIT) where the platform allows it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace halyward::text {

/// How a pattern reads its subjects.
enum class RegexSubjects {
    /// Subjects must be valid UTF-8; a subject that is not never matches.
    validUTF8,
    /// Subjects may hold broken UTF-8 (page titles, window titles): invalid sequences
    /// simply never match, and the rest of the subject is still searched.
    anyBytes,
    /// Subjects are read byte by byte, whatever their encoding: a character class such as
    /// `[^>]` matches any byte, also one that is not UTF-8, and `\d`, `\s`, `\w`, `\b` and
    /// case-insensitive matching know ASCII only. For ASCII markup in pages of any
    /// encoding, where one Latin-1 letter must not hide the tag around it.
    bytes,
};

class Regex;

/// Where the last successful `Regex::find` matched: byte offsets into its subject. It keeps
/// PCRE2's match data between searches, so a scan over a page of many matches costs no
/// allocation per match. Not shared between threads.
class RegexMatch {
public:
    RegexMatch() = default;

    /// Offset of the match's first byte.
    std::size_t begin() const { return group(0).first; }
    /// Offset just past the match's last byte.
    std::size_t end() const { return group(0).second; }
    /// Begin and end of capture group `index` (0 is the whole match); both npos when the
    /// group took no part or the pattern has no such group.
    std::pair<std::size_t, std::size_t> group(std::size_t index) const;
    /// The text of capture group `index` in `subject`, the text that was searched; none
    /// when the group took no part.
    std::optional<std::string_view> group(std::string_view subject, std::size_t index) const;

private:
    friend class Regex;
    struct DataDeleter {
        void operator()(void* data) const;
    };
    std::unique_ptr<void, DataDeleter> data_;
    std::uint32_t capacity_ = 0;
    std::uint32_t set_ = 0;
};

/// One compiled pattern. `\d`, `\s`, `\w` and case-insensitive matching take their Unicode
/// meaning (except for `bytes` subjects). A pattern is immutable once built and may be searched from several threads.
class Regex {
public:
    /// Compiles `pattern`. A pattern that does not compile gives an object whose
    /// `valid()` is false and whose `error()` is PCRE2's sentence for the problem.
    explicit Regex(std::string_view pattern, RegexSubjects subjects = RegexSubjects::validUTF8);

    bool valid() const { return code_ != nullptr; }
    /// Why the pattern did not compile; empty when it did.
    const std::string& error() const { return error_; }

    /// The first match in `subject`: element 0 is the whole match, element N capture group
    /// N (empty when the group took no part). Nothing when there is no match or the
    /// pattern is not valid.
    std::optional<std::vector<std::optional<std::string_view>>> search(
        std::string_view subject) const;
    /// True when `subject` holds a match.
    bool matches(std::string_view subject) const;

    /// Searches `subject` for the first match that starts at or after byte `offset` and
    /// puts its byte positions in `match`; false (leaving `match` meaningless) when there is
    /// none, when `offset` is past the end or when the pattern is not valid. Assertions
    /// such as `\b` still see the bytes before `offset`. A loop that resumes at each
    /// match's end stays linear with `anyBytes` and `bytes` subjects; with `validUTF8` every
    /// call checks the subject's UTF-8 from `offset` on.
    bool find(std::string_view subject, std::size_t offset, RegexMatch& match) const;

private:
    struct CodeDeleter {
        void operator()(void* code) const;
    };
    std::unique_ptr<void, CodeDeleter> code_;
    std::uint32_t groups_ = 0;
    bool jit_ = false;
    bool anyBytes_ = false;
    std::string error_;
};

}  // namespace halyward::text
