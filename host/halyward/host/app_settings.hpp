#pragma once
/// What a web-app window takes from the user's configuration: the app's own style sheet,
/// script and user-agent choice, the window chrome and the app's hotkey.

#include "halyward/config/config.hpp"
#include "halyward/hotkeys/keycaps.hpp"

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

/// The user agent of a web app that does not ask for the platform's: "Halyward/" and the
/// program's version. Empty when the app keeps the platform's user agent.
std::string userAgentFor(const AppSettings& settings);

}  // namespace halyward
