#pragma once
// Character stepping shared by the TOML parser and renderer. Both must agree exactly on
// where a character ends and which characters may form a bare key, otherwise a key the
// renderer writes bare could read back as something else.

#include <cstddef>
#include <string_view>

namespace halyward::detail {

// True for the ASCII bytes that carry TOML syntax or separate tokens: everything in ASCII
// but letters and digits.
inline bool isASCIIPunctuation(unsigned char byte) {
    return byte < 0x80 && !((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                            (byte >= '0' && byte <= '9'));
}

// End of the user-perceived character that starts at `pos` (pos < text.size()).
//
// Characters are grapheme clusters, with one refinement: ASCII punctuation, blanks and
// control characters always stand alone. A combining mark after a quote therefore does not
// hide the quote, and a prepended mark cannot swallow the `"`, `=` or `]` that follows it.
// Without this, text such as a string ending in U+0600 would render to something that
// never reads back, and other TOML readers would disagree about where a string ends.
std::size_t characterEnd(std::string_view text, std::size_t pos);

// True when the character at `pos` may be part of a bare key: a letter or number (by the Unicode
// general category of its first scalar), "_" or "-".
bool isKeyCharacter(std::string_view text, std::size_t pos);

// True when the character at `pos` is numeric (general category N* of its first scalar).
bool isNumericCharacter(std::string_view text, std::size_t pos);

// True when the whole of `key` would read back as one bare key.
bool isBareKey(std::string_view key);

}  // namespace halyward::detail
