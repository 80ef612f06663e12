#pragma once
/// The typed view of config.toml: general settings, tile hotkeys, web apps, app hotkeys,
/// tiling rules, saved layouts and agent skills, with every default, plus the small
/// enumerations that give settings their allowed values.
///
/// Every record is a plain aggregate whose default-constructed value is the default of
/// each setting, so `HalywardConfig{}` is the configuration of an empty file.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// The look of web-app windows (`window_style`).
enum class WindowChrome { slim, standard };

inline constexpr std::array<WindowChrome, 2> allWindowChromes{WindowChrome::slim,
                                                              WindowChrome::standard};

/// "slim" or "standard".
std::string_view rawValue(WindowChrome chrome);
/// Reads a `window_style` setting: no text gives `slim`; otherwise the text is trimmed and
/// lower-cased, and "standard" or "macos" give `standard`, anything else `slim`.
WindowChrome parseWindowChrome(std::optional<std::string_view> text);

/// A named choice of `tile_gap`.
enum class TileGapPreset { none, small, medium, large };

inline constexpr std::array<TileGapPreset, 4> allTileGapPresets{
    TileGapPreset::none, TileGapPreset::small, TileGapPreset::medium, TileGapPreset::large};

/// "none", "small", "medium" or "large".
std::string_view rawValue(TileGapPreset preset);
/// The preset whose raw value is `text` exactly.
std::optional<TileGapPreset> parseTileGapPreset(std::string_view text);
/// "None", "Small", "Medium" or "Large".
std::string_view title(TileGapPreset preset);
/// 0, 8, 16 or 24.
double points(TileGapPreset preset);
/// The preset closest to `points`; a tie goes to the smaller preset, and anything that
/// is not a number gives `none`.
TileGapPreset nearestTileGapPreset(double points);

/// What a double click on a slim title bar does.
enum class TitlebarDoubleClick { minimize, zoom, none };

/// Maps the stored system preference for title-bar double clicks (nothing when unset):
/// "minimize" and "none" (trimmed, any case) choose those actions; anything else zooms.
TitlebarDoubleClick titlebarDoubleClickAction(std::optional<std::string_view> stored);

/// Table `[general]` together with `[tile_hotkeys]`.
struct GeneralConfig {
    bool launchAtLogin = false;
    bool animateTiles = true;
    double tileGap = 0;
    WindowChrome windowChrome = WindowChrome::slim;
    std::string tileModeHotkey = "ctrl+opt+space";
    bool agentHotkeyEnabled = true;
    std::string agentHotkey = "ctrl+opt+a";
    std::string newAppHotkey = "ctrl+opt+n";
    std::string layoutHotkey = "ctrl+opt+l";
    bool cycleWindows = true;
    bool hideOnRepeat = false;
    /// Empty: no leader key; "caps" selects Caps Lock.
    std::string leaderKey{};
    /// Tile action name → chord text, from the string entries of `[tile_hotkeys]`.
    std::map<std::string, std::string> tileHotkeys{};
    std::vector<std::string> agentCommand{};
    std::string terminalBundleIdentifier = "com.apple.Terminal";
    bool autoTile = false;
    bool onboardingComplete = false;
    bool checkForUpdates = true;

    bool operator==(const GeneralConfig&) const = default;
};

/// The settings of one web app, table `[apps.<slug>]`.
struct WebAppSpec {
    std::string url{};
    std::string name{};
    std::string bundleIdentifier{};
    std::optional<std::string> hotkey{};
    std::optional<std::string> tile{};
    std::string userCSS{};
    std::string userJS{};
    std::optional<std::string> iconPath{};
    bool standardUserAgent = false;

    bool operator==(const WebAppSpec&) const = default;
};

/// One web app: its slug (the table name under `apps`) and its settings.
struct WebAppRecord {
    std::string slug{};
    WebAppSpec spec{};

    bool operator==(const WebAppRecord&) const = default;
};

/// One entry of `[hotkeys]`: a chord that brings an application forward.
struct NativeHotkey {
    std::string chord{};
    std::string bundleIdentifier{};

    bool operator==(const NativeHotkey&) const = default;
};

/// One tiling rule, table `[rules.<id>]`.
struct TileRule {
    std::string id{};
    std::string bundleIdentifier{};
    std::optional<std::string> app{};
    /// A regular expression matched against window titles.
    std::optional<std::string> titlePattern{};
    std::string tile{};
    std::optional<std::int64_t> display{};

    bool operator==(const TileRule&) const = default;
};

/// One window target placed on one tile of a saved layout.
struct LayoutAssignment {
    std::string target{};
    std::string tile{};

    bool operator==(const LayoutAssignment&) const = default;
};

/// One saved layout, table `[layouts.<name>]`.
struct Layout {
    std::string name{};
    std::vector<LayoutAssignment> assignments{};

    bool operator==(const Layout&) const = default;
};

/// Table `[agents]`.
struct AgentConfig {
    std::vector<std::string> installed{};
    std::vector<std::string> customFolders{};

    bool operator==(const AgentConfig&) const = default;
};

/// The whole configuration, in the order the file is decoded.
struct HalywardConfig {
    std::int64_t version = 1;
    GeneralConfig general{};
    std::vector<WebAppRecord> apps{};
    std::vector<NativeHotkey> hotkeys{};
    std::vector<TileRule> rules{};
    std::vector<Layout> layouts{};
    AgentConfig agents{};

    bool operator==(const HalywardConfig&) const = default;
};

}  // namespace halyward
