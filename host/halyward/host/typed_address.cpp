#include "halyward/host/typed_address.hpp"

#include "halyward/text/text.hpp"

#include <boost/url/parse.hpp>

namespace halyward {

namespace {

bool isHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Bytes that may never stand raw in a URL: controls, the blank, non-ASCII, and the
// characters RFC 3986 leaves out of every component.
bool neverRaw(unsigned char c) {
    if (c <= 0x20 || c >= 0x7F) return true;
    switch (c) {
        case '"': case '<': case '>': case '\\': case '^': case '`': case '{': case '|':
        case '}':
            return true;
        default:
            return false;
    }
}

void appendEscaped(std::string& out, unsigned char c) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out.push_back('%');
    out.push_back(kHex[c >> 4]);
    out.push_back(kHex[c & 0x0F]);
}

}  // namespace

// A pasted address often carries tabs and line breaks; an address copied from a browser
// is already escaped and must not be escaped twice.
std::string encodeAddress(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    bool seenFragment = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\t' || c == '\n' || c == '\r') continue;
        if (c == '%') {
            const bool escape = i + 2 < text.size() &&
                                isHexDigit(static_cast<unsigned char>(text[i + 1])) &&
                                isHexDigit(static_cast<unsigned char>(text[i + 2]));
            if (escape) {
                out.push_back('%');
            } else {
                appendEscaped(out, c);
            }
        } else if (c == '#') {
            if (seenFragment) {
                appendEscaped(out, c);
            } else {
                seenFragment = true;
                out.push_back('#');
            }
        } else if (neverRaw(c)) {
            appendEscaped(out, c);
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

std::optional<std::string> typedAddress(std::string_view text) {
    const std::string_view trimmed = text::trim(text);
    if (trimmed.empty()) return std::nullopt;
    std::string address(trimmed);
    if (address.find("://") == std::string::npos) address.insert(0, "https://");
    address = encodeAddress(address);
    const auto parsed = boost::urls::parse_uri(address);
    if (!parsed || parsed->scheme().empty()) return std::nullopt;
    return address;
}

}  // namespace halyward
