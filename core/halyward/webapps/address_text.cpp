#include "halyward/webapps/address_text.hpp"

#include "halyward/text/text.hpp"

#include <boost/url/parse.hpp>

namespace halyward::detail {

namespace {

bool isHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Bytes that RFC 3986 never allows raw anywhere in a URI.
bool neverAllowedRaw(unsigned char c) {
    if (c <= 0x20 || c >= 0x7F) return true;
    switch (c) {
        case '"': case '<': case '>': case '\\': case '^': case '`': case '{': case '|': case '}':
            return true;
        default:
            return false;
    }
}

void appendPercentEncoded(std::string& out, unsigned char c) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out.push_back('%');
    out.push_back(kHex[c >> 4]);
    out.push_back(kHex[c & 0x0F]);
}

// Brackets stay raw only inside the authority, where they delimit an IPv6 literal, and
// only the first "#" starts the fragment.
std::string encodeLeniently(std::string_view text) {
    std::size_t authorityStart = std::string_view::npos;
    if (const std::size_t slashes = text.find("//"); slashes != std::string_view::npos) {
        const std::size_t colon = text.find(':');
        if (slashes == 0 || (colon != std::string_view::npos && colon + 1 == slashes)) {
            authorityStart = slashes + 2;
        }
    }
    std::size_t authorityEnd = authorityStart;
    if (authorityStart != std::string_view::npos) {
        authorityEnd = text.find_first_of("/?#", authorityStart);
        if (authorityEnd == std::string_view::npos) authorityEnd = text.size();
    }
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    bool seenFragment = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool inAuthority = authorityStart != std::string_view::npos && i >= authorityStart &&
                                 i < authorityEnd;
        if (c == '#' && !seenFragment) {
            seenFragment = true;
            out.push_back('#');
        } else if (c == '%' && i + 2 < text.size() &&
                   isHexDigit(static_cast<unsigned char>(text[i + 1])) &&
                   isHexDigit(static_cast<unsigned char>(text[i + 2]))) {
            out.push_back('%');
        } else if (c == '%' || c == '#' || ((c == '[' || c == ']') && !inAuthority) ||
                   neverAllowedRaw(c)) {
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
    if (hasControlCharacter(text)) return std::nullopt;
    const std::string encoded = encodeLeniently(text);  // outlives the view parsed from it
    if (auto lenient = boost::urls::parse_uri_reference(encoded)) {
        return boost::urls::url(*lenient);
    }
    return std::nullopt;
}

bool hasControlCharacter(std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) return true;
    }
    return false;
}

std::string quotable(std::string_view text, std::size_t limit) {
    std::string out;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const text::Scalar scalar = text::decodeAt(text, pos);
        if (pos + scalar.length > limit) {
            out += "…";
            break;
        }
        const auto byte = static_cast<unsigned char>(text[pos]);
        if (scalar.length == 1 && (byte < 0x20 || byte == 0x7F)) {
            out += "\xEF\xBF\xBD";
        } else {
            out.append(text.substr(pos, scalar.length));
        }
        pos += scalar.length;
    }
    return out;
}

}  // namespace halyward::detail
