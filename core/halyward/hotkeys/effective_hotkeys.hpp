#pragma once
/// Every chord the running system acts on, gathered from the configuration, and the
/// conflicts among them.

#include <string>
#include <string_view>
#include <vector>

#include "halyward/config/config.hpp"

namespace halyward {

/// Where an effective hotkey comes from. `EffectiveHotkey::source` holds it as text
/// ("app:<slug>", "hotkeys", "builtin"), which is what the JSON output shows; this is the
/// one place that text is made and read.
struct HotkeySource {
    enum class Kind {
        /// A web app's `hotkey`; `slug` names the web app.
        webApp,
        /// An entry of the `[hotkeys]` table.
        hotkeysTable,
        /// Halyward's own chords: tile mode, agent, new app, layout and the tile chords.
        builtin,
    };

    Kind kind = Kind::builtin;
    /// The web app's slug, for `webApp` only.
    std::string slug;

    /// Reads the text form. Text of no known form reads as `builtin`.
    static HotkeySource decode(std::string_view source);
    /// The text form: "app:" and the slug, "hotkeys" or "builtin".
    std::string encode() const;

    bool operator==(const HotkeySource&) const = default;
};

/// One chord in effect.
struct EffectiveHotkey {
    /// The chord's canonical text, never the text as typed.
    std::string chord;
    /// What the chord acts on: an application's bundle identifier, a built-in identifier
    /// ("halyward.tile-mode", "halyward.agent", "halyward.new-app", "halyward.layout") or a
    /// tile action's token ("tile:focus-right").
    std::string bundleIdentifier;
    /// Where it came from: "app:" and the web app's slug, "hotkeys", or "builtin"
    /// (`HotkeySource::encode`); `origin()` decodes it.
    std::string source;

    HotkeySource origin() const { return HotkeySource::decode(source); }

    bool operator==(const EffectiveHotkey&) const = default;
};

/// A chord bound twice, or one that macOS itself uses.
struct HotkeyConflict {
    /// The canonical chord of the offending entry.
    std::string chord;
    /// The sentence that explains the conflict.
    std::string detail;

    bool operator==(const HotkeyConflict&) const = default;
};

/// The chords in effect, in this order: web-app hotkeys (non-empty ones, file order),
/// `[hotkeys]` entries, the tile-mode, agent (only when enabled), new-app and layout
/// chords, then the 27 tile-mode chords. Text that does not parse is skipped silently;
/// reporting it is the job of whoever validates the configuration.
std::vector<EffectiveHotkey> effectiveHotkeys(const HalywardConfig& config);

/// The conflicts met while walking `effectiveHotkeys(config)`: every later holder of an
/// already used chord ("<chord> is already used."), and every chord macOS reserves. An
/// entry that is both gives the duplicate first.
std::vector<HotkeyConflict> hotkeyConflicts(const HalywardConfig& config);

/// The chord text bound to an app: the hotkey of the first web app with this bundle
/// identifier (when it has a non-empty one), else the chord of the first `[hotkeys]` entry
/// for it, else "". The text is returned as written in the configuration.
std::string configuredHotkey(const HalywardConfig& config, std::string_view bundleIdentifier);

}  // namespace halyward
