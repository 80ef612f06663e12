#include "halyward/hotkeys/hotkey_parser.hpp"

#include <array>
#include <string>
#include <unordered_set>
#include <utility>

#include "halyward/base/error.hpp"
#include "halyward/hotkeys/mac_key_codes.hpp"
#include "halyward/text/text.hpp"

namespace halyward::HotkeyParser {

namespace {

constexpr std::string_view ctrlGlyph = "\u2303";   // ⌃
constexpr std::string_view optGlyph = "\u2325";    // ⌥
constexpr std::string_view shiftGlyph = "\u21E7";  // ⇧
constexpr std::string_view cmdGlyph = "\u2318";    // ⌘

std::string quoted(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 6);
    out.append("\u201C").append(text).append("\u201D");
    return out;
}

std::optional<HotkeyModifier> modifierNamed(std::string_view piece) {
    static constexpr std::array<std::pair<std::string_view, HotkeyModifier>, 11> spellings{{
        {"ctrl", HotkeyModifier::ctrl},
        {"control", HotkeyModifier::ctrl},
        {"ctl", HotkeyModifier::ctrl},
        {"opt", HotkeyModifier::opt},
        {"option", HotkeyModifier::opt},
        {"alt", HotkeyModifier::opt},
        {"shift", HotkeyModifier::shift},
        {"cmd", HotkeyModifier::cmd},
        {"command", HotkeyModifier::cmd},
        // "hyper" is another name for the leader key, not a four-modifier combination.
        {"leader", HotkeyModifier::leader},
        {"hyper", HotkeyModifier::leader},
    }};
    for (const auto& [spelling, modifier] : spellings) {
        if (spelling == piece) return modifier;
    }
    return std::nullopt;
}

std::string_view replacingAlias(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> aliases{{
        {"esc", "escape"},
        {"enter", "return"},
        {"spacebar", "space"},
        {"arrowleft", "left"},
        {"arrowright", "right"},
        {"arrowup", "up"},
        {"arrowdown", "down"},
        {"capslock", "caps"},
    }};
    for (const auto& [alias, target] : aliases) {
        if (alias == name) return target;
    }
    return name;
}

bool isKeyName(std::string_view name) {
    static const std::unordered_set<std::string_view> names(MacKeyCodes::keyNames().begin(),
                                                            MacKeyCodes::keyNames().end());
    return names.count(name) != 0;
}

// Calls `visit` with each "+"-separated piece of `text`, trimmed, empty pieces included.
// Stops early when `visit` returns false. The split is on the "+" byte, so a "+" can never
// merge with a following combining mark and hide a separator.
template <typename Visit>
void forEachPiece(std::string_view text, Visit visit) {
    std::size_t start = 0;
    while (true) {
        std::size_t plus = text.find('+', start);
        std::string_view piece =
            text.substr(start, plus == std::string_view::npos ? text.npos : plus - start);
        bool isLast = plus == std::string_view::npos;
        if (!visit(text::trim(piece), isLast) || isLast) return;
        start = plus + 1;
    }
}

HotkeyChord finish(std::set<HotkeyModifier> modifiers, std::string_view keyText,
                   std::string_view original) {
    HotkeyKey parsedKey = key(text::lowercased(keyText));
    validate(modifiers, parsedKey, original);
    return HotkeyChord{std::move(modifiers), std::move(parsedKey)};
}

HotkeyChord parseGlyphForm(std::string_view text) {
    std::set<HotkeyModifier> modifiers;
    std::string keyText;
    std::size_t pos = 0;
    while (pos < text.size()) {
        text::Scalar scalar = text::decodeAt(text, pos);
        std::string_view bytes = text.substr(pos, scalar.length);
        if (bytes == ctrlGlyph) {
            modifiers.insert(HotkeyModifier::ctrl);
        } else if (bytes == optGlyph) {
            modifiers.insert(HotkeyModifier::opt);
        } else if (bytes == shiftGlyph) {
            modifiers.insert(HotkeyModifier::shift);
        } else if (bytes == cmdGlyph) {
            modifiers.insert(HotkeyModifier::cmd);
        } else {
            // Everything else, "+" included, belongs to the key.
            keyText.append(bytes);
        }
        pos += scalar.length;
    }
    return finish(std::move(modifiers), text::trim(keyText), text);
}

bool hasGlyph(std::string_view text) {
    return text.find(ctrlGlyph) != text.npos || text.find(optGlyph) != text.npos ||
           text.find(shiftGlyph) != text.npos || text.find(cmdGlyph) != text.npos;
}

}  // namespace

HotkeyChord parse(std::string_view text) {
    std::string_view trimmed = text::trim(text);
    if (trimmed.empty()) throw HalywardError::usage("A hotkey needs a key.");
    if (hasGlyph(trimmed)) return parseGlyphForm(trimmed);

    // Every piece is checked for emptiness before any is read as a modifier, so "ctrl++a"
    // reports the empty piece rather than the "+" it sits next to.
    bool hasEmptyPiece = false;
    forEachPiece(trimmed, [&](std::string_view piece, bool) {
        hasEmptyPiece = piece.empty();
        return !hasEmptyPiece;
    });
    if (hasEmptyPiece) throw HalywardError::usage(quoted(trimmed) + " has an empty hotkey piece.");

    std::set<HotkeyModifier> modifiers;
    std::string_view keyPiece;
    forEachPiece(trimmed, [&](std::string_view piece, bool isLast) {
        if (isLast) {
            keyPiece = piece;
            return false;
        }
        std::string lowered = text::lowercased(piece);
        std::optional<HotkeyModifier> modifier = modifierNamed(lowered);
        if (!modifier) {
            throw HalywardError::usage(quoted(lowered) +
                                       " is not a modifier. Use ctrl, opt, shift, cmd, or leader.");
        }
        modifiers.insert(*modifier);
        return true;
    });
    return finish(std::move(modifiers), keyPiece, trimmed);
}

std::optional<HotkeyKey> parseLeader(std::string_view text) {
    std::string lowered = text::lowercased(text::trim(text));
    if (lowered.empty()) return std::nullopt;
    return key(lowered);
}

HotkeyKey key(std::string_view named) {
    std::string_view name = replacingAlias(named);
    if (isKeyName(name)) return HotkeyKey::named(name);
    // Deliberately only f1 to f9 (two characters), although the key-code table reaches
    // f20: "f10" and above are refused as keys.
    if (name.size() == 2 && name[0] == 'f' && name[1] >= '1' && name[1] <= '9') {
        return HotkeyKey::named(name);
    }
    if (!name.empty() && text::nextGrapheme(name, 0) == name.size() &&
        text::isLetterOrNumber(text::decodeAt(name, 0).value)) {
        return HotkeyKey::character(name);
    }
    if (name == "[") return HotkeyKey::named("leftbracket");
    if (name == "]") return HotkeyKey::named("rightbracket");
    throw HalywardError::usage(quoted(name) + " is not a key Halyward can bind.");
}

void validate(const std::set<HotkeyModifier>& modifiers, const HotkeyKey& key,
              std::string_view original) {
    if (modifiers.count(HotkeyModifier::leader) != 0) {
        if (modifiers.size() != 1) {
            throw HalywardError::usage(quoted(original) +
                                       " mixes the leader key with other modifiers.");
        }
        return;
    }
    if (modifiers.empty()) {
        throw HalywardError::usage(quoted(original) + " needs a modifier, or use leader+" +
                                   key.canonical() + ".");
    }
}

}  // namespace halyward::HotkeyParser
