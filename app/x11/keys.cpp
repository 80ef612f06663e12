#include "keys.hpp"

#include "halyward/text/text.hpp"

#include <X11/keysym.h>

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace halyward::x11 {

namespace {

using Name = std::pair<std::string_view, xcb_keysym_t>;

constexpr std::array<Name, 26> namedKeysyms{{
    {"space", XK_space},
    {"return", XK_Return},
    {"escape", XK_Escape},
    {"tab", XK_Tab},
    {"left", XK_Left},
    {"right", XK_Right},
    {"down", XK_Down},
    {"up", XK_Up},
    // The Mac's "delete" is the key above Return; its forward delete is X's Delete.
    {"delete", XK_BackSpace},
    {"forwarddelete", XK_Delete},
    {"home", XK_Home},
    {"end", XK_End},
    {"pageup", XK_Prior},
    {"pagedown", XK_Next},
    {"caps", XK_Caps_Lock},
    {"minus", XK_minus},
    {"equal", XK_equal},
    {"comma", XK_comma},
    {"period", XK_period},
    {"slash", XK_slash},
    {"semicolon", XK_semicolon},
    {"quote", XK_apostrophe},
    {"backslash", XK_backslash},
    {"grave", XK_grave},
    {"leftbracket", XK_bracketleft},
    {"rightbracket", XK_bracketright},
}};

}  // namespace

std::optional<xcb_keysym_t> keysymOf(const HotkeyKey& key) {
    if (auto character = key.characterValue()) {
        if (character->size() != 1) return std::nullopt;
        const char c = (*character)[0];
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            return static_cast<xcb_keysym_t>(c);
        }
        return std::nullopt;
    }
    const std::string& name = key.canonical();
    for (const auto& [text, keysym] : namedKeysyms) {
        if (text == name) return keysym;
    }
    if (name.size() >= 2 && name[0] == 'f') {
        const int number = std::atoi(name.c_str() + 1);
        if (number >= 1 && number <= 20 && name.substr(1) == std::to_string(number)) {
            return static_cast<xcb_keysym_t>(XK_F1 + number - 1);
        }
    }
    return std::nullopt;
}

std::optional<HotkeyKey> keyOfKeysym(xcb_keysym_t keysym) {
    if ((keysym >= 'a' && keysym <= 'z') || (keysym >= '0' && keysym <= '9')) {
        return HotkeyKey::character(std::string(1, static_cast<char>(keysym)));
    }
    if (keysym >= 'A' && keysym <= 'Z') {
        return HotkeyKey::character(std::string(1, static_cast<char>(keysym - 'A' + 'a')));
    }
    if (keysym >= XK_F1 && keysym <= XK_F20) {
        return HotkeyKey::named("f" + std::to_string(keysym - XK_F1 + 1));
    }
    // The keypad's keys stand for the main ones where the grammar has a name.
    switch (keysym) {
        case XK_KP_Enter: keysym = XK_Return; break;
        case XK_KP_Left: keysym = XK_Left; break;
        case XK_KP_Right: keysym = XK_Right; break;
        case XK_KP_Up: keysym = XK_Up; break;
        case XK_KP_Down: keysym = XK_Down; break;
        case XK_ISO_Left_Tab: keysym = XK_Tab; break;
        default: break;
    }
    for (const auto& [text, named] : namedKeysyms) {
        if (named == keysym) return HotkeyKey::named(text);
    }
    return std::nullopt;
}

std::string keysymText(xcb_keysym_t keysym) {
    char32_t scalar = 0;
    if ((keysym >= 0x20 && keysym <= 0x7e) || (keysym >= 0xa0 && keysym <= 0xff)) {
        scalar = keysym;
    } else if ((keysym & 0xff000000) == 0x01000000) {
        scalar = keysym & 0x00ffffff;
    } else {
        return {};
    }
    std::string out;
    text::appendUTF8(out, scalar);
    return out;
}

bool isModifierKeysym(xcb_keysym_t keysym) {
    return (keysym >= XK_Shift_L && keysym <= XK_Hyper_R) ||
           (keysym >= XK_ISO_Lock && keysym <= XK_ISO_Level5_Lock) || keysym == XK_Mode_switch ||
           keysym == XK_Num_Lock || keysym == XK_Scroll_Lock;
}

std::uint16_t ModifierMasks::chordMask(const HotkeyChord& chord) const {
    std::uint16_t mask = 0;
    for (HotkeyModifier modifier : chord.modifiers) {
        switch (modifier) {
            case HotkeyModifier::ctrl: mask |= XCB_MOD_MASK_CONTROL; break;
            case HotkeyModifier::opt: mask |= alt; break;
            case HotkeyModifier::shift: mask |= XCB_MOD_MASK_SHIFT; break;
            case HotkeyModifier::cmd: mask |= super; break;
            case HotkeyModifier::leader: break;
        }
    }
    return mask;
}

std::vector<std::uint16_t> ModifierMasks::lockCombinations() const {
    std::vector<std::uint16_t> locks{0};
    for (const std::uint16_t lock :
         {static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK), numLock, scrollLock}) {
        if (lock == 0) continue;
        const std::size_t count = locks.size();
        for (std::size_t i = 0; i < count; ++i) locks.push_back(locks[i] | lock);
    }
    return locks;
}

ModifierMasks readModifierMasks(xcb_connection_t* connection, xcb_key_symbols_t* symbols) {
    ModifierMasks masks;
    xcb_get_modifier_mapping_reply_t* reply =
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr);
    if (reply == nullptr) return masks;
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply);
    const int perModifier = reply->keycodes_per_modifier;
    std::uint16_t alt = 0, super = 0, numLock = 0, scrollLock = 0;
    // Modifiers 0 to 2 are Shift, Lock and Control; Mod1 to Mod5 follow.
    for (int modifier = 3; modifier < 8; ++modifier) {
        const auto bit = static_cast<std::uint16_t>(1u << modifier);
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t code = codes[modifier * perModifier + i];
            if (code == 0) continue;
            for (int column = 0; column < 4; ++column) {
                const xcb_keysym_t keysym = xcb_key_symbols_get_keysym(symbols, code, column);
                if (keysym == XK_Alt_L || keysym == XK_Alt_R || keysym == XK_Meta_L ||
                    keysym == XK_Meta_R) {
                    alt |= alt == 0 ? bit : 0;
                } else if (keysym == XK_Super_L || keysym == XK_Super_R) {
                    super |= super == 0 ? bit : 0;
                } else if (keysym == XK_Num_Lock) {
                    numLock = bit;
                } else if (keysym == XK_Scroll_Lock) {
                    scrollLock = bit;
                }
            }
        }
    }
    std::free(reply);
    if (alt != 0) masks.alt = alt;
    if (super != 0) masks.super = super;
    masks.numLock = numLock;
    masks.scrollLock = scrollLock;
    return masks;
}

}  // namespace halyward::x11
