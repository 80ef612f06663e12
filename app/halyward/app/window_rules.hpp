#pragma once
// Where a window goes when it appears: the first `[rules.<id>]` table that matches its
// application and title, else its web app's own `tile` for the app's first window.

#include "halyward/app/window_system.hpp"
#include "halyward/commands/targets.hpp"
#include "halyward/config/config.hpp"
#include "halyward/text/regex.hpp"
#include "halyward/tiling/tile_slot.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace halyward::detail {

// A tile a window should take, on a display counted from 1 in the window system's order
// (none: the display the window is on).
struct Placement {
    TileSlot slot = TileSlot::fill;
    std::optional<std::int64_t> display;
    bool operator==(const Placement&) const = default;
};

class WindowRules {
public:
    WindowRules() = default;
    // Reads the rules and web-app tiles of `config` once. A rule's `app` word is resolved
    // as the command line resolves it, through `lookup` for installed applications. Rules
    // that can never apply (a tile or title pattern that does not read) are left out and
    // listed in `problems`.
    WindowRules(const HalywardConfig& config, const ApplicationLookup& lookup);

    // The placement for `window`, or none when no rule matches it. A web app's own `tile`
    // is where the app opens, so it only places the app's first window (`firstOfApp`): its
    // pop-ups (a sign-in page, a shared document) open where the app puts them.
    std::optional<Placement> placementFor(const WindowInfo& window, bool firstOfApp) const;
    bool empty() const { return rules_.empty() && webAppTiles_.empty(); }

    // One sentence per rule left out.
    std::vector<std::string> problems;

private:
    struct Rule {
        // The identities the rule's application goes by; a window matches any of them.
        std::vector<std::string> identities;
        std::shared_ptr<const text::Regex> title;
        Placement placement;
    };
    std::vector<Rule> rules_;
    // A web app's `tile`, by its bundle identifier: the first web app wins.
    std::unordered_map<std::string, TileSlot> webAppTiles_;
};

}  // namespace halyward::detail
