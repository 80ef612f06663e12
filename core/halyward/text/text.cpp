#include "halyward/text/text.hpp"

#include <utf8proc.h>

#include <cstdio>
#include <cstdlib>

namespace halyward::text {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

template <typename Map>
std::string mapScalars(std::string_view text, Map map) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (pos < text.size()) {
        unsigned char byte = static_cast<unsigned char>(text[pos]);
        if (byte < 0x80) {
            map(out, byte);
            ++pos;
            continue;
        }
        Scalar s = decodeAt(text, pos);
        if (s.value == kReplacement && s.length == 1) {
            // Keep a stray byte as it is rather than inventing a replacement character.
            out.push_back(text[pos]);
        } else {
            map(out, s.value);
        }
        pos += s.length;
    }
    return out;
}

}  // namespace

Scalar decodeAt(std::string_view text, std::size_t pos) {
    const auto first = static_cast<unsigned char>(text[pos]);
    if (first < 0x80) return {first, 1};
    // utf8proc refuses overlong forms, surrogates, values beyond U+10FFFF and truncated
    // sequences, which is exactly when a byte has to stand alone.
    utf8proc_int32_t value = 0;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + pos),
                         static_cast<utf8proc_ssize_t>(text.size() - pos), &value);
    if (length <= 0) return {kReplacement, 1};
    return {static_cast<char32_t>(value), static_cast<std::size_t>(length)};
}

void appendUTF8(std::string& out, char32_t scalar) {
    utf8proc_uint8_t bytes[4];
    const utf8proc_ssize_t length =
        utf8proc_encode_char(static_cast<utf8proc_int32_t>(scalar), bytes);
    out.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

std::size_t nextGrapheme(std::string_view text, std::size_t pos) {
    const std::size_t size = text.size();
    if (pos >= size) return size;
    unsigned char first = static_cast<unsigned char>(text[pos]);
    // Fast path: an ASCII character followed by another ASCII character (or the end) is a
    // cluster of its own, except CR LF, which Unicode keeps together.
    if (first < 0x80) {
        if (pos + 1 >= size) return size;
        unsigned char next = static_cast<unsigned char>(text[pos + 1]);
        if (next < 0x80) return (first == '\r' && next == '\n') ? pos + 2 : pos + 1;
    }
    Scalar current = decodeAt(text, pos);
    std::size_t end = pos + current.length;
    if (current.value == kReplacement && current.length == 1 && first >= 0x80) {
        return end;  // an invalid byte stands alone
    }
    utf8proc_int32_t state = 0;
    char32_t previous = current.value;
    while (end < size) {
        Scalar next = decodeAt(text, end);
        if (next.value == kReplacement && next.length == 1 &&
            static_cast<unsigned char>(text[end]) >= 0x80) {
            break;
        }
        if (utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(previous),
                                             static_cast<utf8proc_int32_t>(next.value), &state)) {
            break;
        }
        previous = next.value;
        end += next.length;
    }
    return end;
}

std::size_t graphemeCount(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t pos = 0; pos < text.size(); pos = nextGrapheme(text, pos)) ++count;
    return count;
}

bool isLineBreak(char32_t c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isWhitespace(char32_t c) {
    if (c == 0x20 || c == 0x09 || isLineBreak(c)) return true;
    if (c < 0xA0) return false;
    return c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

bool isLetter(char32_t c) {
    if (c < 0x80) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    switch (utf8proc_category(static_cast<utf8proc_int32_t>(c))) {
        case UTF8PROC_CATEGORY_LU:
        case UTF8PROC_CATEGORY_LL:
        case UTF8PROC_CATEGORY_LT:
        case UTF8PROC_CATEGORY_LM:
        case UTF8PROC_CATEGORY_LO: return true;
        default: return false;
    }
}

bool isNumber(char32_t c) {
    if (c < 0x80) return c >= '0' && c <= '9';
    switch (utf8proc_category(static_cast<utf8proc_int32_t>(c))) {
        case UTF8PROC_CATEGORY_ND:
        case UTF8PROC_CATEGORY_NL:
        case UTF8PROC_CATEGORY_NO: return true;
        default: return false;
    }
}

bool isFormatCharacter(char32_t c) {
    if (c < 0x80) return false;
    return utf8proc_category(static_cast<utf8proc_int32_t>(c)) == UTF8PROC_CATEGORY_CF;
}

bool isShapingJoiner(char32_t before, char32_t joiner, char32_t after) {
    const auto pictograph = [](char32_t c) {
        return utf8proc_get_property(static_cast<utf8proc_int32_t>(c))->boundclass ==
               UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
    };
    // Emoji may carry a variation selector or skin tone before the joiner.
    const auto pictographic = [&](char32_t c) {
        return pictograph(c) || (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0x1F3FB && c <= 0x1F3FF);
    };
    const auto shaped = [](char32_t c) {
        if (c < 0x80) return false;
        const utf8proc_category_t category = utf8proc_category(static_cast<utf8proc_int32_t>(c));
        return isLetter(c) || category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC;
    };
    if (joiner == 0x200D && pictographic(before) && pictograph(after)) return true;
    return (joiner == 0x200C || joiner == 0x200D) && shaped(before) && shaped(after);
}

bool isControl(char32_t c) { return c < 0x20 || (c >= 0x7F && c <= 0x9F); }

bool isValidUTF8(std::string_view text) {
    for (std::size_t pos = 0; pos < text.size();) {
        const Scalar scalar = decodeAt(text, pos);
        if (scalar.value == kReplacement && text.substr(pos, 3) != "\xEF\xBF\xBD") return false;
        pos += scalar.length;
    }
    return true;
}

std::string repairedUTF8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    for (std::size_t pos = 0; pos < text.size();) {
        const Scalar scalar = decodeAt(text, pos);
        appendUTF8(repaired, scalar.value);
        pos += scalar.length;
    }
    return repaired;
}

std::string codePoint(char32_t scalar) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "U+%04X", static_cast<unsigned>(scalar));
    return buffer;
}

std::string nfc(std::string_view text) {
    bool ascii = true;
    for (const char c : text) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) return std::string(text);
    utf8proc_uint8_t* composed = nullptr;
    const utf8proc_ssize_t length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                     static_cast<utf8proc_ssize_t>(text.size()), &composed,
                     static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
    if (length < 0) return std::string(text);  // not UTF-8: nothing to normalise
    std::string out(reinterpret_cast<const char*>(composed), static_cast<std::size_t>(length));
    std::free(composed);
    return out;
}

bool isLetterOrNumber(char32_t c) { return isLetter(c) || isNumber(c); }

bool isWhitespaceCharacter(std::string_view cluster) {
    return !cluster.empty() && isWhitespace(decodeAt(cluster, 0).value);
}

std::string_view trim(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
        Scalar s = decodeAt(text, start);
        if (!isWhitespace(s.value)) break;
        start += s.length;
    }
    std::size_t end = text.size();
    while (end > start) {
        // Step back to the start of the last scalar.
        std::size_t begin = end - 1;
        while (begin > start && isContinuation(static_cast<unsigned char>(text[begin])) &&
               end - begin < 4) {
            --begin;
        }
        Scalar s = decodeAt(text, begin);
        if (begin + s.length != end) {
            // Not a well-formed scalar ending here: the last byte is a stray byte.
            break;
        }
        if (!isWhitespace(s.value)) break;
        end = begin;
    }
    return text.substr(start, end - start);
}

std::string_view trimBlanks(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) ++start;
    std::size_t end = text.size();
    while (end > start && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
    return text.substr(start, end - start);
}

std::string lowercased(std::string_view text) {
    return mapScalars(text, [](std::string& out, char32_t c) {
        if (c < 0x80) {
            out.push_back(static_cast<char>((c >= 'A' && c <= 'Z') ? c + 32 : c));
        } else if (c == 0x130) {
            // The one letter whose unconditional full lower case is two scalars: "i" and
            // a combining dot above, which keeps the dot the capital carried.
            out += "i\u0307";
        } else {
            appendUTF8(out,
                       static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(c))));
        }
    });
}

std::string uppercased(std::string_view text) {
    return mapScalars(text, [](std::string& out, char32_t c) {
        if (c < 0x80) {
            out.push_back(static_cast<char>((c >= 'a' && c <= 'z') ? c - 32 : c));
        } else {
            appendUTF8(out,
                       static_cast<char32_t>(utf8proc_toupper(static_cast<utf8proc_int32_t>(c))));
        }
    });
}

std::string quoted(std::string_view words) {
    std::string out;
    out.reserve(words.size() + 6);
    out += "\u201C";
    out += words;
    out += "\u201D";
    return out;
}

std::string terminalSafe(std::string_view text) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    for (std::size_t pos = 0; pos < text.size();) {
        const unsigned char byte = static_cast<unsigned char>(text[pos]);
        if (byte >= 0x20 && byte < 0x7F) {  // the plain ASCII fast path
            out += static_cast<char>(byte);
            ++pos;
            continue;
        }
        const Scalar scalar = decodeAt(text, pos);
        const char32_t value = scalar.value;
        if (value == '\n' || value == '\t') {
            out += static_cast<char>(value);
        } else if (value < 0x20 || value == 0x7F) {
            out += "\\x";
            out += hex[value >> 4];
            out += hex[value & 0xF];
        } else if (value >= 0x80 && value <= 0x9F) {
            out += "\\u00";
            out += hex[value >> 4];
            out += hex[value & 0xF];
        } else if (value == 0xFFFD && scalar.length == 1) {
            out += "\uFFFD";  // a byte that is not UTF-8: some terminals would act on it
        } else {
            out.append(text.substr(pos, scalar.length));
        }
        pos += scalar.length;
    }
    return out;
}

}  // namespace halyward::text
