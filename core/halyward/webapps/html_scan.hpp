#pragma once
// Internal PCRE2 plumbing of the site-icon scanner: compiled patterns built once and a
// match loop that never goes quadratic on hostile pages.

#include <cstddef>
#include <optional>
#include <string_view>

struct pcre2_real_code_8;

namespace halyward::detail {

/// A compiled pattern (JIT-compiled where the platform allows). Not copyable.
class Regex {
public:
    /// Compiles `pattern` in byte mode (pages may hold any bytes). A pattern that does not
    /// compile (an attribute name too long for the compiled-pattern limit) matches nothing.
    explicit Regex(std::string_view pattern);
    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    struct Match {
        std::size_t begin = 0;
        std::size_t end = 0;
        /// Begin and end of capture groups 1 to 3; npos when a group did not take part.
        std::size_t groups[3][2] = {};
        std::string_view group(std::string_view subject, int index) const;
    };

    /// The first match in `subject` starting at or after `offset`.
    std::optional<Match> find(std::string_view subject, std::size_t offset = 0) const;

private:
    pcre2_real_code_8* code_ = nullptr;
};

/// The page cut just after its last ">": every pattern used on pages ends in ">", and a
/// start with no ">" after it would make the matcher rescan the rest of the page from
/// every "<link" of a page full of unclosed tags.
std::string_view throughLastTagEnd(std::string_view html);

}  // namespace halyward::detail
