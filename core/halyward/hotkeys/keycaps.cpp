#include "halyward/hotkeys/keycaps.hpp"

#include <array>
#include <optional>
#include <utility>

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/text/text.hpp"

namespace halyward {

namespace {

const std::string_view* specialFace(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 18> faces{{
        {"space", "Space"},
        {"return", "Return"},
        {"escape", "Esc"},
        {"left", "\u2190"},
        {"right", "\u2192"},
        {"up", "\u2191"},
        {"down", "\u2193"},
        {"leftbracket", "["},
        {"rightbracket", "]"},
        {"minus", "-"},
        {"equal", "="},
        {"comma", ","},
        {"period", "."},
        {"slash", "/"},
        {"semicolon", ";"},
        {"quote", "'"},
        {"backslash", "\\"},
        {"grave", "`"},
    }};
    for (const auto& [keyName, face] : faces) {
        if (keyName == name) return &face;
    }
    return nullptr;
}

}  // namespace

std::string hotkeyKeyFace(const HotkeyKey& key) {
    const std::string& name = key.canonical();
    if (key.kind() == HotkeyKey::Kind::character) return text::uppercased(name);
    if (const std::string_view* face = specialFace(name)) return std::string(*face);
    if (name.empty()) return name;
    std::size_t firstEnd = text::nextGrapheme(name, 0);
    std::string out = text::uppercased(std::string_view(name).substr(0, firstEnd));
    out.append(name, firstEnd);
    return out;
}

std::vector<std::string> hotkeyKeycaps(std::string_view chordText) {
    std::vector<std::string> caps;
    try {
        HotkeyChord chord = HotkeyParser::parse(chordText);
        static constexpr std::array<std::pair<HotkeyModifier, std::string_view>, 5> glyphs{{
            {HotkeyModifier::ctrl, "\u2303"},
            {HotkeyModifier::opt, "\u2325"},
            {HotkeyModifier::shift, "\u21E7"},
            {HotkeyModifier::cmd, "\u2318"},
            {HotkeyModifier::leader, "Leader"},
        }};
        for (const auto& [modifier, glyph] : glyphs) {
            if (chord.modifiers.count(modifier) != 0) caps.emplace_back(glyph);
        }
        caps.push_back(hotkeyKeyFace(chord.key));
        return caps;
    } catch (const HalywardError&) {
        // Text being typed is often not a chord yet; show what there is.
    }
    std::string_view rest = text::trim(chordText);
    while (!rest.empty()) {
        std::size_t plus = rest.find('+');
        std::string_view piece = text::trim(rest.substr(0, plus));
        if (!piece.empty()) caps.emplace_back(piece);
        if (plus == std::string_view::npos) break;
        rest.remove_prefix(plus + 1);
    }
    return caps;
}

std::string readableHotkey(std::string_view chord, HotkeyStyle style) {
    std::string text;
    if (style == HotkeyStyle::keycaps) {
        for (const std::string& cap : hotkeyKeycaps(chord)) text += cap;
        return text;
    }
    std::optional<HotkeyChord> parsed;
    try {
        parsed = HotkeyParser::parse(chord);
    } catch (const HalywardError&) {
        // Text that is no chord keeps its pieces, joined as a chord's would be.
        for (const std::string& cap : hotkeyKeycaps(chord)) text += (text.empty() ? "" : "+") + cap;
        return text;
    }
    static constexpr std::pair<HotkeyModifier, std::string_view> words[] = {
        {HotkeyModifier::leader, "Leader"}, {HotkeyModifier::shift, "Shift"},
        {HotkeyModifier::ctrl, "Ctrl"},     {HotkeyModifier::opt, "Alt"},
        {HotkeyModifier::cmd, "Super"},
    };
    for (const auto& [modifier, word] : words) {
        if (parsed->modifiers.count(modifier) != 0) text += std::string(word) + "+";
    }
    // Arrows are words in GTK's labels too; every other key shows its face.
    const std::string& name = parsed->key.canonical();
    const bool arrow = parsed->key.kind() == HotkeyKey::Kind::named &&
                       (name == "left" || name == "right" || name == "up" || name == "down");
    if (arrow) {
        text += static_cast<char>(name[0] - 'a' + 'A');
        text += name.substr(1);
    } else {
        text += hotkeyKeyFace(parsed->key);
    }
    return text;
}

}  // namespace halyward
