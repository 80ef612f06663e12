#pragma once
// The one boundary between the toolkit's value types and the host's: rectangles, texts
// owned by GLib, and addresses.

#include "halyward/host/platform.hpp"
#include "halyward/tiling/frame.hpp"

#include <gdk/gdk.h>
#include <glib.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halyward::gtk {

inline GdkRectangle toGdkRectangle(const Frame& frame) {
    return GdkRectangle{
        static_cast<int>(std::lround(frame.x)), static_cast<int>(std::lround(frame.y)),
        static_cast<int>(std::lround(frame.width)), static_cast<int>(std::lround(frame.height))};
}

inline Frame toFrame(const GdkRectangle& rect) {
    return Frame{static_cast<double>(rect.x), static_cast<double>(rect.y),
                 static_cast<double>(rect.width), static_cast<double>(rect.height)};
}

/// A borrowed GLib text as a string; null reads as empty text.
inline std::string toString(const char* text) {
    return text != nullptr ? std::string(text) : std::string();
}

/// A borrowed GLib text, none when null.
inline std::optional<std::string> toOptionalString(const char* text) {
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string(text);
}

/// Takes a newly allocated GLib text ("transfer full") and frees it.
inline std::string takeString(char* text) {
    std::string result = toString(text);
    g_free(text);
    return result;
}

/// The scheme of an address, as GLib reads it (lower-cased); empty when there is none.
inline std::string uriScheme(std::string_view uri) {
    return takeString(g_uri_parse_scheme(std::string(uri).c_str()));
}

/// The toolkit's modifier state as the host's `KeyModifier` bits: Ctrl is the primary
/// shortcut modifier (`keyCommand`), Super stands for macOS's Control key and Alt for Option.
inline std::uint32_t toKeyModifiers(GdkModifierType state) {
    std::uint32_t modifiers = 0;
    if ((state & GDK_SHIFT_MASK) != 0) {
        modifiers |= keyShift;
    }
    if ((state & GDK_CONTROL_MASK) != 0) {
        modifiers |= keyCommand;
    }
    if ((state & GDK_SUPER_MASK) != 0) {
        modifiers |= keyControl;
    }
    if ((state & GDK_ALT_MASK) != 0) {
        modifiers |= keyOption;
    }
    if ((state & GDK_LOCK_MASK) != 0) {
        modifiers |= keyCapsLock;
    }
    return modifiers;
}

/// A `KeyModifier` set as the toolkit's accelerator modifiers (the inverse of
/// `toKeyModifiers`, Caps Lock left out).
inline GdkModifierType toGdkModifiers(std::uint32_t modifiers) {
    unsigned state = 0;
    if ((modifiers & keyShift) != 0) {
        state |= GDK_SHIFT_MASK;
    }
    if ((modifiers & keyCommand) != 0) {
        state |= GDK_CONTROL_MASK;
    }
    if ((modifiers & keyControl) != 0) {
        state |= GDK_SUPER_MASK;
    }
    if ((modifiers & keyOption) != 0) {
        state |= GDK_ALT_MASK;
    }
    return static_cast<GdkModifierType>(state);
}

/// A key's Unicode character as UTF-8; empty for keys that produce none (F10, arrows).
inline std::string keyvalText(guint keyval) {
    const gunichar character = gdk_keyval_to_unicode(keyval);
    if (character == 0) {
        return {};
    }
    char buffer[8] = {};
    const gint length = g_unichar_to_utf8(character, buffer);
    return std::string(buffer, static_cast<std::size_t>(length));
}

}  // namespace halyward::gtk
