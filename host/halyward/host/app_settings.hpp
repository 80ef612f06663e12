#pragma once
/// What a web-app window takes from the user's configuration: the app's own style sheet,
/// script and user-agent choice, the window chrome and the app's hotkey.

#include "halyward/config/config.hpp"

#include <string>
#include <string_view>

namespace halyward {

/// The settings of the running app, read from the configuration.
struct AppSettings {
    std::string customCSS;
    std::string customScript;
    bool standardUserAgent = false;
    WindowChrome chrome = WindowChrome::slim;
    /// The app's hotkey as written in the configuration ("ctrl+opt+m"), or empty.
    std::string hotkey;
    bool operator==(const AppSettings&) const = default;
};

/// The first web-app record whose slug equals `slug` or whose bundle identifier equals
/// `bundleIdentifier`; an empty slug or identifier matches nothing. Null when none matches.
const WebAppRecord* matchingWebApp(const HalywardConfig& config, std::string_view slug,
                                   std::string_view bundleIdentifier);

/// The settings for the app with `slug` or `bundleIdentifier` in `config`: the matching
/// record's CSS, script and user-agent choice (empty and false when none matches), the
/// window chrome and the app's hotkey: the matching record's own non-empty hotkey, else
/// whatever `configuredHotkey` finds for the bundle identifier.
AppSettings appSettings(const HalywardConfig& config, std::string_view slug,
                        std::string_view bundleIdentifier);

/// The configuration at `HalywardPaths::configFile(home)`; the defaults when it is
/// missing, unreadable or does not parse. Never writes anything.
HalywardConfig loadHostConfig(std::string_view home);

/// How the slim bar spells a chord: keycap glyphs run together ("⌃⌥M"), as macOS menus
/// show shortcuts, or modifier words joined by "+" in GTK's order ("Ctrl+Alt+M"), as GTK
/// menus show them; opt reads as Alt and cmd as Super there.
enum class HotkeyStyle { keycaps, words };

/// The spelling of the platform the host is built for, so that the bar reads like the
/// menus beside it.
#if defined(__APPLE__)
inline constexpr HotkeyStyle nativeHotkeyStyle = HotkeyStyle::keycaps;
#else
inline constexpr HotkeyStyle nativeHotkeyStyle = HotkeyStyle::words;
#endif

/// A chord as the slim bar shows it in `style`; empty for empty text. Text that is not a
/// chord (yet) is shown as its pieces.
std::string readableHotkey(std::string_view chord, HotkeyStyle style = nativeHotkeyStyle);

/// The user agent of a web app that does not ask for the platform's: "Halyward/" and the
/// program's version. Empty when the app keeps the platform's user agent.
std::string userAgentFor(const AppSettings& settings);

}  // namespace halyward
