#include "halyward/hotkeys/hotkey_chord.hpp"

#include "halyward/text/text.hpp"

namespace halyward {

std::string_view rawValue(HotkeyModifier modifier) {
    switch (modifier) {
        case HotkeyModifier::ctrl: return "ctrl";
        case HotkeyModifier::opt: return "opt";
        case HotkeyModifier::shift: return "shift";
        case HotkeyModifier::cmd: return "cmd";
        case HotkeyModifier::leader: return "leader";
    }
    return "ctrl";
}

std::optional<HotkeyModifier> parseHotkeyModifier(std::string_view text) {
    for (HotkeyModifier modifier : allHotkeyModifiers) {
        if (rawValue(modifier) == text) return modifier;
    }
    return std::nullopt;
}

HotkeyKey HotkeyKey::character(std::string_view text) {
    return HotkeyKey(Character{text::lowercased(text)});
}

HotkeyKey HotkeyKey::named(std::string_view name) { return HotkeyKey(Named{std::string(name)}); }

std::optional<std::string> HotkeyKey::characterValue() const {
    if (const auto* character = std::get_if<Character>(&storage_)) return character->text;
    return std::nullopt;
}

std::optional<std::string> HotkeyKey::namedValue() const {
    if (const auto* named = std::get_if<Named>(&storage_)) return named->name;
    return std::nullopt;
}

const std::string& HotkeyKey::canonical() const {
    if (const auto* character = std::get_if<Character>(&storage_)) return character->text;
    return std::get<Named>(storage_).name;
}

std::string HotkeyChord::canonical() const {
    const std::string& keyText = key.canonical();
    // A leader chord never carries other modifiers once validated; a chord built by hand
    // that does is still spelled as a leader chord so that the text stays parseable.
    if (modifiers.count(HotkeyModifier::leader) != 0) return "leader+" + keyText;
    std::string out;
    out.reserve(keyText.size() + 20);
    // std::set orders the enumerators by declaration, which is the canonical order.
    for (HotkeyModifier modifier : modifiers) {
        out.append(rawValue(modifier));
        out.push_back('+');
    }
    out.append(keyText);
    return out;
}

}  // namespace halyward

std::size_t std::hash<halyward::HotkeyKey>::operator()(
    const halyward::HotkeyKey& key) const noexcept {
    // The case goes in first so that a character key and a named key with the same text
    // hash apart.
    std::size_t seed = static_cast<std::size_t>(key.kind());
    std::size_t payload = std::hash<std::string>{}(key.canonical());
    return seed ^
           (payload + static_cast<std::size_t>(0x9e3779b97f4a7c15ULL) + (seed << 6) + (seed >> 2));
}

std::size_t std::hash<halyward::HotkeyChord>::operator()(
    const halyward::HotkeyChord& chord) const noexcept {
    std::size_t mask = 0;
    for (halyward::HotkeyModifier modifier : chord.modifiers) {
        mask |= std::size_t{1} << static_cast<unsigned>(modifier);
    }
    std::size_t keyHash = std::hash<halyward::HotkeyKey>{}(chord.key);
    return keyHash ^ (mask + static_cast<std::size_t>(0x9e3779b97f4a7c15ULL) + (keyHash << 6) +
                      (keyHash >> 2));
}
