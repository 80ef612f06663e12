#include "halyward/host/typed_address.hpp"

#include "halyward/text/text.hpp"
#include "halyward/web/address.hpp"

namespace halyward {

// A pasted address often carries tabs and line breaks, and a typed one blanks or
// non-ASCII letters; the lenient reading encodes them as a browser's address bar does.
std::string encodeAddress(std::string_view text) {
    const auto parsed = parseAddress(text);
    return parsed ? std::string(parsed->buffer()) : std::string(text);
}

std::optional<std::string> typedAddress(std::string_view text) {
    const std::string_view trimmed = text::trim(text);
    if (trimmed.empty()) return std::nullopt;
    std::string address(trimmed);
    if (address.find("://") == std::string::npos) address.insert(0, "https://");
    const auto parsed = parseAddress(address);
    if (!parsed || !parsed->has_scheme()) return std::nullopt;
    return std::string(parsed->buffer());
}

}  // namespace halyward
