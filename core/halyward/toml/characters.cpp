#include "halyward/toml/characters.hpp"

#include "halyward/text/text.hpp"

namespace halyward::detail {

std::size_t characterEnd(std::string_view text, std::size_t pos) {
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (isASCIIPunctuation(byte)) return pos + 1;
    if (byte < 0x80 &&
        (pos + 1 >= text.size() || static_cast<unsigned char>(text[pos + 1]) < 0x80)) {
        return pos + 1;
    }
    const std::size_t end = text::nextGrapheme(text, pos);
    for (std::size_t i = pos + 1; i < end; ++i) {
        if (isASCIIPunctuation(static_cast<unsigned char>(text[i]))) return i;
    }
    return end;
}

bool isKeyCharacter(std::string_view text, std::size_t pos) {
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (byte < 0x80) {
        return byte == '_' || byte == '-' || !isASCIIPunctuation(byte);
    }
    return text::isLetterOrNumber(text::decodeAt(text, pos).value);
}

bool isNumericCharacter(std::string_view text, std::size_t pos) {
    return text::isNumber(text::decodeAt(text, pos).value);
}

bool isBareKey(std::string_view key) {
    if (key.empty()) return false;
    std::size_t pos = 0;
    while (pos < key.size()) {
        const auto byte = static_cast<unsigned char>(key[pos]);
        if (byte < 0x80 &&
            (pos + 1 >= key.size() || static_cast<unsigned char>(key[pos + 1]) < 0x80)) {
            if (!(byte == '_' || byte == '-' || !isASCIIPunctuation(byte))) return false;
            ++pos;
            continue;
        }
        const std::size_t end = characterEnd(key, pos);
        if (!isKeyCharacter(key, pos)) return false;
        pos = end;
    }
    return true;
}

}  // namespace halyward::detail
