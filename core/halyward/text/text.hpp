#pragma once
/// Unicode text helpers shared by every module: trimming, case mapping, character
/// classes and stepping over user-perceived characters (grapheme clusters) in UTF-8.
///
/// Every function accepts any bytes. A byte that does not start a valid UTF-8 sequence is
/// treated as one character of its own (decoded as U+FFFD) so that invalid input never
/// crashes, loops or loses bytes: helpers that return text keep such bytes unchanged.

#include <cstddef>
#include <string>
#include <string_view>

namespace halyward::text {

/// One decoded scalar: its value and the number of bytes it occupied (at least 1).
struct Scalar {
    char32_t value;
    std::size_t length;
};

/// Decodes the scalar that starts at byte `pos` (which must be < text.size()).
/// Invalid or truncated sequences give U+FFFD with length 1.
Scalar decodeAt(std::string_view text, std::size_t pos);

/// Appends the UTF-8 encoding of `scalar` to `out`.
void appendUTF8(std::string& out, char32_t scalar);

/// Byte offset just past the grapheme cluster that starts at `pos` (pos < text.size()).
std::size_t nextGrapheme(std::string_view text, std::size_t pos);

/// Number of grapheme clusters in `text`.
std::size_t graphemeCount(std::string_view text);

/// Unicode White_Space property (space, tab, line breaks, NBSP, U+2028, ...).
bool isWhitespace(char32_t scalar);
/// Line breaks: U+000A to U+000D, U+0085, U+2028, U+2029.
bool isLineBreak(char32_t scalar);
/// General category L* or N*.
bool isLetterOrNumber(char32_t scalar);
/// General category L*.
bool isLetter(char32_t scalar);
/// General category N* (decimal digits of every script, letter-like numbers, ...).
bool isNumber(char32_t scalar);

/// General category Cf: invisible characters that shape or steer text (U+200B zero width
/// space, U+202E right-to-left override, U+FEFF ...).
bool isFormatCharacter(char32_t scalar);
/// Whether a zero width joiner or non-joiner (U+200D, U+200C) between `before` and `after`
/// does visible work: inside an emoji sequence (a joiner between two pictographs), or
/// between letters and marks of a script that shapes with them (Persian, the Indic
/// scripts). Between ASCII characters, or next to nothing, it only hides a difference.
bool isShapingJoiner(char32_t before, char32_t joiner, char32_t after);
/// General category Cc: C0 controls, DEL and C1 controls.
bool isControl(char32_t scalar);

/// True when every byte of `text` belongs to a valid UTF-8 sequence (a literal U+FFFD
/// included).
bool isValidUTF8(std::string_view text);
/// `text` with every byte that does not start a valid UTF-8 sequence replaced by U+FFFD,
/// for APIs that refuse invalid UTF-8 outright.
std::string repairedUTF8(std::string_view text);

/// The scalar's code point as Unicode writes it: "U+200B", "U+1F600".
std::string codePoint(char32_t scalar);

/// Unicode Normalization Form C: one spelling for text that can be written with
/// precomposed or decomposed characters ("é" as U+00E9, never "e" + U+0301). Text that is
/// not valid UTF-8 is returned unchanged.
std::string nfc(std::string_view text);

/// A grapheme cluster is white space when its first scalar is.
bool isWhitespaceCharacter(std::string_view cluster);

/// Removes leading and trailing white space and line breaks (whole characters).
std::string_view trim(std::string_view text);
/// Removes leading and trailing spaces and tabs only.
std::string_view trimBlanks(std::string_view text);

/// Full Unicode lower-casing, scalar by scalar: the simple mappings of UnicodeData plus
/// the unconditional one of SpecialCasing (U+0130 becomes "i" followed by U+0307). The
/// context-dependent final sigma is not applied: Σ always becomes σ. Invalid bytes are
/// kept as they are.
std::string lowercased(std::string_view text);
/// Simple Unicode upper-casing, one scalar to one scalar (ß stays ß, ﬁ stays ﬁ); invalid
/// bytes are kept as they are.
std::string uppercased(std::string_view text);

/// The user's words set between “ and ”, as every message quotes them.
std::string quoted(std::string_view words);

/// `text` made harmless for a terminal: line feeds and tabs stay, every other control
/// character (C0, DEL and C1, which terminals read as commands that move the cursor,
/// rewrite the screen or set the window title) is shown as an escape such as "\x1b" or
/// "\u009b", and bytes that are not UTF-8 become U+FFFD. Text without such characters is
/// returned unchanged.
std::string terminalSafe(std::string_view text);

}  // namespace halyward::text
