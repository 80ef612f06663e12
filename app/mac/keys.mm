#include "keys.h"

#include "halyward/hotkeys/mac_key_codes.hpp"

#include <map>
#include <string>

namespace halyward::mac {

namespace {

// Every key the grammar names, by its code: the inverse of MacKeyCodes, built once.
const std::map<std::int64_t, HotkeyKey>& keysByCode() {
    static const std::map<std::int64_t, HotkeyKey> table = [] {
        std::map<std::int64_t, HotkeyKey> keys;
        const auto add = [&keys](const HotkeyKey& key) {
            if (const std::optional<std::uint32_t> code = MacKeyCodes::code(key))
                keys.emplace(*code, key);
        };
        for (char c = 'a'; c <= 'z'; ++c) add(HotkeyKey::character(std::string(1, c)));
        for (char c = '0'; c <= '9'; ++c) add(HotkeyKey::character(std::string(1, c)));
        for (std::string_view name : MacKeyCodes::keyNames()) add(HotkeyKey::named(name));
        for (int n = 1; n <= 20; ++n) add(HotkeyKey::named("f" + std::to_string(n)));
        return keys;
    }();
    return table;
}

// The text an event types. Control characters (Return, Escape, Tab, Delete) and the
// private-use characters AppKit gives arrows and function keys type nothing.
std::string typedText(CGEventRef event) {
    UniChar characters[8];
    UniCharCount length = 0;
    CGEventKeyboardGetUnicodeString(event, 8, &length, characters);
    if (length == 0) return {};
    NSString* string = [NSString stringWithCharacters:characters length:length];
    for (NSUInteger i = 0; i < string.length; ++i) {
        const unichar c = [string characterAtIndex:i];
        if (c < 0x20 || c == 0x7f || (c >= 0xf700 && c <= 0xf8ff)) return {};
    }
    NSData* bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    return bytes != nil ? std::string(static_cast<const char*>(bytes.bytes), bytes.length)
                        : std::string();
}

}  // namespace

std::optional<HotkeyKey> keyOfCode(std::int64_t code) {
    const auto& table = keysByCode();
    const auto found = table.find(code);
    if (found == table.end()) return std::nullopt;
    return found->second;
}

KeyPress keyPressOf(CGEventRef event) {
    KeyPress press;
    const std::int64_t code = CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode);
    press.key = keyOfCode(code).value_or(HotkeyKey::named(""));
    press.text = typedText(event);
    const CGEventFlags flags = CGEventGetFlags(event);
    press.shift = (flags & kCGEventFlagMaskShift) != 0;
    press.ctrl = (flags & kCGEventFlagMaskControl) != 0;
    press.opt = (flags & kCGEventFlagMaskAlternate) != 0;
    press.cmd = (flags & kCGEventFlagMaskCommand) != 0;
    return press;
}

}  // namespace halyward::mac
