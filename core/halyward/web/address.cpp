#include "halyward/web/address.hpp"

#include <boost/url/parse.hpp>

#include <string>

namespace halyward {

namespace {

bool isHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isSchemeStart(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isSchemeCharacter(unsigned char c) {
    return isSchemeStart(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

// Bytes that RFC 3986 never allows raw anywhere in a URI.
bool neverAllowedRaw(unsigned char c) {
    if (c <= 0x20 || c >= 0x7F) return true;
    switch (c) {
        case '"':
        case '<':
        case '>':
        case '\\':
        case '^':
        case '`':
        case '{':
        case '|':
        case '}': return true;
        default: return false;
    }
}

void appendPercentEncoded(std::string& out, unsigned char c) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out.push_back('%');
    out.push_back(kHex[c >> 4]);
    out.push_back(kHex[c & 0x0F]);
}

// Addresses arrive the way pages and users write them, not only as the normalised text a
// web view produces: "mailto:a@b.c?subject=Hi there" is plainly a mail address even though
// a strict URI parser rejects the blank, and so is "https://example.com/my icon.png".
std::string encodeLeniently(std::string_view text) {
    std::string stripped;
    stripped.reserve(text.size());
    for (char c : text) {
        if (c != '\t' && c != '\n' && c != '\r') stripped.push_back(c);
    }

    // Find the authority, where brackets delimit an IPv6 literal and must stay raw.
    std::size_t authorityStart = std::string::npos;
    std::size_t schemeEnd = 0;
    if (!stripped.empty() && isSchemeStart(static_cast<unsigned char>(stripped[0]))) {
        std::size_t i = 1;
        while (i < stripped.size() && isSchemeCharacter(static_cast<unsigned char>(stripped[i])))
            ++i;
        if (i < stripped.size() && stripped[i] == ':') schemeEnd = i + 1;
    }
    if (stripped.compare(schemeEnd, 2, "//") == 0) authorityStart = schemeEnd + 2;
    std::size_t authorityEnd = authorityStart;
    if (authorityStart != std::string::npos) {
        authorityEnd = stripped.find_first_of("/?#", authorityStart);
        if (authorityEnd == std::string::npos) authorityEnd = stripped.size();
    }

    std::string out;
    out.reserve(stripped.size() + stripped.size() / 4);
    bool seenFragment = false;
    for (std::size_t i = 0; i < stripped.size(); ++i) {
        const auto c = static_cast<unsigned char>(stripped[i]);
        const bool inAuthority =
            authorityStart != std::string::npos && i >= authorityStart && i < authorityEnd;
        if (c == '#') {
            if (seenFragment) {
                appendPercentEncoded(out, c);
            } else {
                seenFragment = true;
                out.push_back('#');
            }
        } else if (c == '%') {
            const bool escape = i + 2 < stripped.size() &&
                                isHexDigit(static_cast<unsigned char>(stripped[i + 1])) &&
                                isHexDigit(static_cast<unsigned char>(stripped[i + 2]));
            if (escape) {
                out.push_back('%');
            } else {
                appendPercentEncoded(out, c);
            }
        } else if (((c == '[' || c == ']') && !inAuthority) || neverAllowedRaw(c)) {
            appendPercentEncoded(out, c);
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

}  // namespace

std::optional<boost::urls::url> parseAddress(std::string_view text) {
    if (auto strict = boost::urls::parse_uri_reference(text)) return boost::urls::url(*strict);
    const std::string encoded = encodeLeniently(text);
    if (auto lenient = boost::urls::parse_uri_reference(encoded)) return boost::urls::url(*lenient);
    return std::nullopt;
}

}  // namespace halyward
