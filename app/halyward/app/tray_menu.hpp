#pragma once
/// The tray item's menu, decided from the configuration: the saved layouts, tile mode, the
/// web apps, "New web app…", "Edit configuration", "Start at login" and "Quit". A front
/// end shows the model as it is and hands back the `action` of the item the user chose.

#include "halyward/config/config.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace halyward {

/// One item of the tray menu.
struct TrayMenuItem {
    enum class Kind {
        /// A plain item that runs `action` when chosen.
        action,
        /// An item with a check mark (`checked`) that runs `action` when chosen.
        toggle,
        /// A line between groups.
        separator,
        /// An item that opens `children`.
        submenu,
    };
    Kind kind = Kind::action;
    std::string label;
    /// What choosing the item does, as `parseTrayAction` reads it.
    std::string action;
    bool checked = false;
    /// False for an item shown greyed (an empty group says so with one such item).
    bool enabled = true;
    std::vector<TrayMenuItem> children;

    bool operator==(const TrayMenuItem&) const = default;
};

/// The menu for `config`.
std::vector<TrayMenuItem> trayMenu(const HalywardConfig& config);

/// What a chosen tray item asks for.
struct TrayAction {
    enum class Kind {
        applyLayout,
        tileMode,
        openApp,
        newApp,
        editConfiguration,
        startAtLogin,
        quit
    };
    Kind kind = Kind::quit;
    /// The layout's name or the web app's slug.
    std::string name;
    bool operator==(const TrayAction&) const = default;
};

/// The action an item's `action` text names; none for text no item carries.
std::optional<TrayAction> parseTrayAction(std::string_view action);

}  // namespace halyward
