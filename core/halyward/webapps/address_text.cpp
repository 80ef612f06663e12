#include "halyward/webapps/address_text.hpp"

#include "halyward/text/text.hpp"

namespace halyward::detail {

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
