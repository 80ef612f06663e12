#pragma once
/// Hotkey chords: a set of modifiers plus one key, with the single canonical spelling used
/// in the configuration file, in messages and as a dictionary key.

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace halyward {

/// A modifier of a chord. `leader` stands for the configured leader key and is never
/// combined with the others.
enum class HotkeyModifier { ctrl, opt, shift, cmd, leader };

/// Every modifier, in canonical order.
inline constexpr std::array<HotkeyModifier, 5> allHotkeyModifiers{
    HotkeyModifier::ctrl, HotkeyModifier::opt, HotkeyModifier::shift, HotkeyModifier::cmd,
    HotkeyModifier::leader};

/// "ctrl", "opt", "shift", "cmd" or "leader".
std::string_view rawValue(HotkeyModifier modifier);
/// The modifier whose raw value is exactly `text` (no aliases, no case folding).
std::optional<HotkeyModifier> parseHotkeyModifier(std::string_view text);

/// The key of a chord: a single letter or digit (`character`, stored lowercased) or a named
/// key such as "space", "leftbracket" or "f5" (`named`). Equality is by case and payload.
class HotkeyKey {
public:
    enum class Kind { character, named };

    /// A letter or digit key. The text is lowercased here, so "A" and "a" are one key.
    static HotkeyKey character(std::string_view text);
    /// A named key, stored exactly as given.
    static HotkeyKey named(std::string_view name);

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    /// The character of a `character` key; none for a named key.
    std::optional<std::string> characterValue() const;
    /// The name of a `named` key; none for a character key.
    std::optional<std::string> namedValue() const;

    /// The character or the name: the key's part of a chord's canonical text.
    const std::string& canonical() const;

    bool operator==(const HotkeyKey& other) const = default;

private:
    struct Character {
        std::string text;
        bool operator==(const Character&) const = default;
    };
    struct Named {
        std::string name;
        bool operator==(const Named&) const = default;
    };
    using Storage = std::variant<Character, Named>;

    explicit HotkeyKey(Storage storage) : storage_(std::move(storage)) {}

    Storage storage_;
};

/// One keyboard shortcut.
struct HotkeyChord {
    std::set<HotkeyModifier> modifiers;
    HotkeyKey key;

    /// "leader+" and the key when `leader` is present; otherwise the present modifiers in
    /// the order ctrl, opt, shift, cmd and then the key, joined by "+" ("ctrl+opt+space").
    std::string canonical() const;

    bool operator==(const HotkeyChord& other) const = default;
};

}  // namespace halyward

template <>
struct std::hash<halyward::HotkeyKey> {
    std::size_t operator()(const halyward::HotkeyKey& key) const noexcept;
};

template <>
struct std::hash<halyward::HotkeyChord> {
    std::size_t operator()(const halyward::HotkeyChord& chord) const noexcept;
};
