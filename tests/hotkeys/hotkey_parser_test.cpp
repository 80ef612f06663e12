#include "halyward/hotkeys/hotkey_parser.hpp"
#include "halyward/base/error.hpp"
#include "halyward/hotkeys/keycaps.hpp"
#include "halyward/hotkeys/mac_key_codes.hpp"
#include "halyward/hotkeys/system_hotkeys.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using namespace halyward;

namespace {

std::string failureOf(const std::string& text) {
    try {
        HotkeyParser::parse(text);
    } catch (const HalywardError& error) {
        EXPECT_EQ(error.code, "usage") << text;
        EXPECT_EQ(error.exitCode, ExitCode::usage) << text;
        return error.message;
    }
    return "(accepted)";
}

}  // namespace

TEST(hotkey_parser, accepts_every_spelling_and_canonical_text_is_a_fixed_point) {
    struct Case {
        std::string in, canonical;
    };
    const Case cases[] = {
        {"  Ctrl + Opt + Space ", "ctrl+opt+space"},
        {"cmd+opt+m", "opt+cmd+m"},
        {"alt+control+K", "ctrl+opt+k"},
        {"ctl+option+shift+command+a", "ctrl+opt+shift+cmd+a"},
        {"CTRL+ctrl+x", "ctrl+x"},
        {"hyper+e", "leader+e"},
        {"ctrl+f9", "ctrl+f9"},
        {"ctrl+opt+[", "ctrl+opt+leftbracket"},
        {"ctrl+opt+esc", "ctrl+opt+escape"},
        {"ctrl+ArrowLeft", "ctrl+left"},
        {"ctrl+\xC3\x89", "ctrl+\xC3\xA9"},    // É is stored lowercased
        {"ctrl+e\xCC\x81", "ctrl+e\xCC\x81"},  // one character: e + combining acute
        {"ctrl\n+\ta", "ctrl+a"},
        {"\xE2\x8C\xA5\xE2\x8C\x98M", "opt+cmd+m"},  // ⌥⌘M
        {"\xE2\x8C\x83\xE2\x8C\xA5\xE2\x87\xA7\xE2\x8C\x98 Space", "ctrl+opt+shift+cmd+space"},
        {"\xE2\x8C\x83[", "ctrl+leftbracket"},   // ⌃[
        {"k\xE2\x8C\x98\xE2\x8C\x98", "cmd+k"},  // glyphs after the key, repeated
    };
    for (const auto& c : cases) {
        HotkeyChord chord = HotkeyParser::parse(c.in);
        EXPECT_EQ(chord.canonical(), c.canonical) << c.in;
        HotkeyChord again = HotkeyParser::parse(chord.canonical());
        EXPECT_EQ(again, chord) << c.in;
        EXPECT_EQ(std::hash<HotkeyChord>{}(again), std::hash<HotkeyChord>{}(chord)) << c.in;
    }
}

TEST(hotkey_parser, rejects_bad_text_with_the_usage_message) {
    struct Case {
        std::string in, message;
    };
    const Case cases[] = {
        {"", "A hotkey needs a key."},
        {"ctrl+", "\u201Cctrl+\u201D has an empty hotkey piece."},
        {"super+ +a", "\u201Csuper+ +a\u201D has an empty hotkey piece."},
        {"Super+a", "\u201Csuper\u201D is not a modifier. Use ctrl, opt, shift, cmd, or leader."},
        {"m", "\u201Cm\u201D needs a modifier, or use leader+m."},
        {" Esc ", "\u201CEsc\u201D needs a modifier, or use leader+escape."},
        {"leader+ctrl+e", "\u201Cleader+ctrl+e\u201D mixes the leader key with other modifiers."},
        {"ctrl+f10", "\u201Cf10\u201D is not a key Halyward can bind."},
        {"ctrl+ab", "\u201Cab\u201D is not a key Halyward can bind."},
        {"ctrl+\xFF", "\u201C\xFF\u201D is not a key Halyward can bind."},
        {std::string("ctrl+a\0b", 8),
         "\u201C" + std::string("a\0b", 3) + "\u201D is not a key Halyward can bind."},
        {"\xE2\x8C\x98+K", "\u201C+k\u201D is not a key Halyward can bind."},  // ⌘+K
        {"\xE2\x8C\x98\xE2\x87\xA7", "\u201C\u201D is not a key Halyward can bind."},
    };
    for (const auto& c : cases) EXPECT_EQ(failureOf(c.in), c.message) << c.in;
}

TEST(hotkey_parser, leader_setting_is_optional_and_uses_the_key_rules) {
    EXPECT_EQ(HotkeyParser::parseLeader(" \n"), std::nullopt);
    EXPECT_EQ(HotkeyParser::parseLeader(" CapsLock "), HotkeyKey::named("caps"));
    EXPECT_EQ(HotkeyParser::parseLeader("A"), HotkeyKey::character("a"));
    EXPECT_THROW(HotkeyParser::parseLeader("f10"), HalywardError);
}

TEST(hotkey_chord, keys_compare_by_case_and_payload) {
    EXPECT_NE(HotkeyKey::character("a"), HotkeyKey::named("a"));
    EXPECT_EQ(HotkeyKey::character("A"), HotkeyKey::character("a"));
}

TEST(mac_key_codes, every_bindable_key_has_its_own_code_and_face) {
    std::vector<HotkeyKey> keys;
    for (char c = 'a'; c <= 'z'; ++c) keys.push_back(HotkeyParser::key(std::string(1, c)));
    for (char c = '0'; c <= '9'; ++c) keys.push_back(HotkeyParser::key(std::string(1, c)));
    for (std::string_view name : MacKeyCodes::keyNames()) keys.push_back(HotkeyParser::key(name));
    for (int n = 1; n <= 9; ++n) keys.push_back(HotkeyParser::key("f" + std::to_string(n)));
    ASSERT_EQ(keys.size(), 71u);

    std::set<std::uint32_t> codes;
    std::set<std::string> faces;
    for (const HotkeyKey& key : keys) {
        auto code = MacKeyCodes::code(key);
        ASSERT_TRUE(code) << key.canonical();
        EXPECT_TRUE(codes.insert(*code).second) << "code reused by " << key.canonical();
        std::string face = hotkeyKeyFace(key);
        EXPECT_FALSE(face.empty()) << key.canonical();
        EXPECT_TRUE(faces.insert(face).second) << "face reused by " << key.canonical();
        // The parser reads every key back from its canonical text.
        EXPECT_EQ(HotkeyParser::key(key.canonical()), key);
    }
    // f10 to f20 have codes the parser never produces; none may collide either.
    for (int n = 10; n <= 20; ++n) {
        auto code = MacKeyCodes::code(HotkeyKey::named("f" + std::to_string(n)));
        ASSERT_TRUE(code) << n;
        EXPECT_TRUE(codes.insert(*code).second) << "f" << n;
    }
}

TEST(mac_key_codes, codes_and_masks_at_the_edges) {
    EXPECT_EQ(MacKeyCodes::code(HotkeyKey::character("A")), 0u);
    EXPECT_EQ(MacKeyCodes::code(HotkeyKey::named("f20")), 90u);
    EXPECT_EQ(MacKeyCodes::code(HotkeyKey::named("f01")), 122u);
    for (const char* none : {"f21", "f0", "f", "fx", "F1", "a"})
        EXPECT_EQ(MacKeyCodes::code(HotkeyKey::named(none)), std::nullopt) << none;
    EXPECT_EQ(MacKeyCodes::code(HotkeyKey::character("\xC3\xA9")), std::nullopt);
    using M = HotkeyModifier;
    EXPECT_EQ(MacKeyCodes::carbonModifiers({M::ctrl, M::opt}), 0x1800u);
    EXPECT_EQ(MacKeyCodes::carbonModifiers({M::leader}), 0u);
    EXPECT_EQ(MacKeyCodes::carbonModifiers({M::ctrl, M::opt, M::shift, M::cmd}), 0x1B00u);
}

TEST(system_hotkeys, only_canonically_spelled_entries_can_ever_match) {
    std::set<std::string> matched;
    for (const auto& [text, reason] : SystemHotkeys::reservedChords()) {
        EXPECT_EQ(reason, "macOS uses this chord.");
        if (SystemHotkeys::reservation(HotkeyParser::parse(text))) matched.insert(text);
    }
    EXPECT_EQ(matched, (std::set<std::string>{"cmd+space", "ctrl+cmd+space", "ctrl+up", "ctrl+down",
                                              "ctrl+left", "ctrl+right"}));
    EXPECT_EQ(SystemHotkeys::reservation(HotkeyParser::parse("Ctrl + Left")),
              "macOS uses this chord.");
    EXPECT_EQ(SystemHotkeys::reservation(HotkeyParser::parse("shift+cmd+3")), std::nullopt);
}

TEST(keycaps, show_modifier_glyphs_then_the_key_face) {
    using Caps = std::vector<std::string>;
    struct Case {
        std::string in;
        Caps caps;
    };
    const Case cases[] = {
        {"ctrl+opt+shift+h", {"\u2303", "\u2325", "\u21E7", "H"}},
        {"cmd+shift+ctrl+opt+space", {"\u2303", "\u2325", "\u21E7", "\u2318", "Space"}},
        {"leader+e", {"Leader", "E"}},
        {"opt+esc", {"\u2325", "Esc"}},
        {"cmd+[", {"\u2318", "["}},
        {"ctrl+grave", {"\u2303", "`"}},
        {"ctrl+\xC3\xA9", {"\u2303", "\xC3\x89"}},
        // Text that is not a chord shows its pieces as typed.
        {" super + K ", {"super", "K"}},
        {"ctrl++", {"ctrl"}},
        {"", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(hotkeyKeycaps(c.in), c.caps) << c.in;
}
