#include "halyward/hotkeys/tile_keys.hpp"

#include <utility>

#include "halyward/base/error.hpp"
#include "halyward/config/config.hpp"
#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/hotkeys/mac_key_codes.hpp"
#include "halyward/text/text.hpp"

namespace halyward {

std::string_view rawValue(TileKeyGroup group) {
    switch (group) {
        case TileKeyGroup::focus: return "focus";
        case TileKeyGroup::move: return "move";
        case TileKeyGroup::layout: return "layout";
        case TileKeyGroup::more: return "more";
    }
    return "focus";
}

std::optional<TileKeyGroup> parseTileKeyGroup(std::string_view text) {
    for (TileKeyGroup group : allTileKeyGroups) {
        if (rawValue(group) == text) return group;
    }
    return std::nullopt;
}

namespace {

struct ArrowKey {
    Direction direction;
    const char* name;
    const char* glyph;
    // What a macOS key event reports as the characters of the arrow key (the private-use
    // function-key characters); the glyph is accepted too for front ends that report it.
    const char* functionCharacter;
};

constexpr ArrowKey arrowKeys[] = {
    {Direction::left, "left", "\u2190", "\uF702"},
    {Direction::down, "down", "\u2193", "\uF701"},
    {Direction::up, "up", "\u2191", "\uF700"},
    {Direction::right, "right", "\u2192", "\uF703"},
};

struct LetterKey {
    Direction direction;
    const char* letter;
};

constexpr LetterKey letterKeys[] = {
    {Direction::left, "h"},
    {Direction::down, "j"},
    {Direction::up, "k"},
    {Direction::right, "l"},
};

std::string capitalised(std::string_view word) {
    std::string out(word);
    if (!out.empty() && out[0] >= 'a' && out[0] <= 'z') out[0] = static_cast<char>(out[0] - 32);
    return out;
}

// focus_l cannot have ctrl+opt+l because that is the default chord that cycles layouts; the
// note tells the user why the chord looks different from its siblings.
std::string focusLetterNote(std::string_view focusChord) {
    return GeneralConfig{}.layoutHotkey + " cycles layouts, so focus right on L is " +
           std::string(focusChord) + ".";
}

std::vector<TileKeyBinding> buildBindings() {
    std::vector<TileKeyBinding> rows;
    rows.reserve(27);

    for (bool shifted : {false, true}) {
        const TileKeyGroup group = shifted ? TileKeyGroup::move : TileKeyGroup::focus;
        const std::string verb = shifted ? "move" : "focus";
        const std::string modifiers = shifted ? "ctrl+opt+shift+" : "ctrl+opt+";
        auto makeAction = [shifted](Direction d) {
            return shifted ? TileAction::move(d) : TileAction::focus(d);
        };
        for (const ArrowKey& arrow : arrowKeys) {
            std::string direction(rawValue(arrow.direction));
            rows.push_back(TileKeyBinding{verb + "_" + direction,
                                          group,
                                          capitalised(verb) + " " + direction,
                                          arrow.glyph,
                                          HotkeyKey::named(arrow.name),
                                          shifted,
                                          makeAction(arrow.direction),
                                          {arrow.functionCharacter, arrow.glyph},
                                          modifiers + arrow.name,
                                          std::nullopt});
        }
        for (const LetterKey& letter : letterKeys) {
            std::string upper = capitalised(letter.letter);
            std::string chord = modifiers + letter.letter;
            std::optional<std::string> note;
            if (!shifted && letter.direction == Direction::right) {
                chord = "ctrl+opt+cmd+l";
                note = focusLetterNote(chord);
            }
            rows.push_back(TileKeyBinding{verb + "_" + letter.letter,
                                          group,
                                          capitalised(verb) + " " +
                                              std::string(rawValue(letter.direction)) + " (" +
                                              upper + ")",
                                          upper,
                                          HotkeyKey::character(letter.letter),
                                          shifted,
                                          makeAction(letter.direction),
                                          {letter.letter},
                                          chord,
                                          note});
        }
    }

    for (int number = 1; number <= 6; ++number) {
        std::string digit = std::to_string(number);
        rows.push_back(TileKeyBinding{"layout_" + digit,
                                      TileKeyGroup::layout,
                                      "Layout " + digit,
                                      digit,
                                      HotkeyKey::character(digit),
                                      false,
                                      TileAction::layout(number),
                                      {digit},
                                      "ctrl+opt+" + digit,
                                      std::nullopt});
    }

    rows.push_back(TileKeyBinding{"fill",
                                  TileKeyGroup::more,
                                  "Fill screen",
                                  "F",
                                  HotkeyKey::character("f"),
                                  false,
                                  TileAction::fill(),
                                  {"f"},
                                  "ctrl+opt+f",
                                  std::nullopt});
    rows.push_back(TileKeyBinding{"previous_display",
                                  TileKeyGroup::more,
                                  "Previous display",
                                  "[",
                                  HotkeyKey::named("leftbracket"),
                                  false,
                                  TileAction::previousDisplay(),
                                  {"["},
                                  "ctrl+opt+leftbracket",
                                  std::nullopt});
    rows.push_back(TileKeyBinding{"next_display",
                                  TileKeyGroup::more,
                                  "Next display",
                                  "]",
                                  HotkeyKey::named("rightbracket"),
                                  false,
                                  TileAction::nextDisplay(),
                                  {"]"},
                                  "ctrl+opt+rightbracket",
                                  std::nullopt});
    // Return types "\r" (some front ends report "\n"); the keypad's Enter types U+0003.
    rows.push_back(TileKeyBinding{"exit_return",
                                  TileKeyGroup::more,
                                  "Leave tile mode",
                                  "Return",
                                  HotkeyKey::named("return"),
                                  false,
                                  TileAction::exit(),
                                  {"\r", "\n", "\x03"},
                                  "ctrl+opt+return",
                                  std::nullopt});
    rows.push_back(TileKeyBinding{"exit_escape",
                                  TileKeyGroup::more,
                                  "Leave tile mode (Esc)",
                                  "Esc",
                                  HotkeyKey::named("escape"),
                                  false,
                                  TileAction::exit(),
                                  {"\x1b"},
                                  "ctrl+opt+escape",
                                  std::nullopt});
    return rows;
}

// The canonical text of `text` when it is a chord, otherwise none.
std::optional<std::string> canonicalChord(std::string_view text) {
    try {
        return HotkeyParser::parse(text).canonical();
    } catch (const HalywardError&) {
        return std::nullopt;
    }
}

}  // namespace

namespace TileKeys {

const std::vector<TileKeyBinding>& bindings() {
    static const std::vector<TileKeyBinding> table = buildBindings();
    return table;
}

std::vector<ResolvedTileChord> resolved(const std::map<std::string, std::string>& overrides) {
    std::vector<ResolvedTileChord> out;
    out.reserve(bindings().size());
    for (const TileKeyBinding& binding : bindings()) {
        std::string chord = binding.defaultChord;
        auto found = overrides.find(binding.id);
        if (found != overrides.end()) {
            if (auto canonical = canonicalChord(found->second)) chord = std::move(*canonical);
        }
        // The note explains the default chord; once the user picks another it no longer
        // applies.
        std::optional<std::string> note =
            chord == binding.defaultChord ? binding.note : std::nullopt;
        out.push_back(ResolvedTileChord{binding.id, binding.group, binding.title,
                                        binding.panelLabel, std::move(chord), std::move(note),
                                        binding.action.token(), binding.action});
    }
    return out;
}

std::string title(std::string_view token, std::string_view chord,
                  const std::map<std::string, std::string>& overrides) {
    std::string wanted = canonicalChord(chord).value_or(std::string(chord));
    std::optional<std::string> firstWithToken;
    for (const ResolvedTileChord& entry : resolved(overrides)) {
        if (entry.token != token) continue;
        if (entry.chord == wanted) return entry.title;
        if (!firstWithToken) firstWithToken = entry.title;
    }
    return firstWithToken.value_or(std::string(token));
}

std::optional<TileAction> action(std::uint32_t keyCode, std::string_view characters, bool shift) {
    for (const TileKeyBinding& binding : bindings()) {
        if (binding.shifted == shift && MacKeyCodes::code(binding.key) == keyCode) {
            return binding.action;
        }
    }
    std::string lowered = text::lowercased(characters);
    if (lowered.empty()) return std::nullopt;
    for (const TileKeyBinding& binding : bindings()) {
        if (binding.shifted != shift) continue;
        for (const std::string& typed : binding.characters) {
            if (typed == characters || typed == lowered) return binding.action;
        }
    }
    return std::nullopt;
}

}  // namespace TileKeys

}  // namespace halyward
