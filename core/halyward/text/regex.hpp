#pragma once
/// The library's one regular-expression engine: PCRE2 with Unicode semantics, compiled
/// to machine code (JIT) where the platform allows it.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward::text {

/// How a pattern reads its subjects.
enum class RegexSubjects {
    /// Subjects must be valid UTF-8; a subject that is not never matches.
    validUTF8,
    /// Subjects may hold broken UTF-8 (page titles, window titles): invalid sequences
    /// simply never match, and the rest of the subject is still searched.
    anyBytes,
};

/// One compiled pattern. `\d`, `\s`, `\w` and case-insensitive matching take their Unicode
/// meaning. A pattern is immutable once built and may be searched from several threads.
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
    bool matches(std::string_view subject) const { return search(subject).has_value(); }

private:
    struct CodeDeleter {
        void operator()(void* code) const;
    };
    std::unique_ptr<void, CodeDeleter> code_;
    bool jit_ = false;
    bool anyBytes_ = false;
    std::string error_;
};

}  // namespace halyward::text
