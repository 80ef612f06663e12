#pragma once
/// The web app's main menu and the responder that carries a window's own menu action.

#include "halyward/host/platform.hpp"

#include <memory>
#include <string_view>
#include <vector>

namespace halyward {

class WebWindowController;

/// The action of "Reload This Page", the one menu action a web window handles itself.
inline constexpr std::string_view kReloadPageAction = "reloadPage:";

/// The main menu for the application `name` (the bundle's "CFBundleName", or "Halyward"):
/// the application menu (empty title), "File", "Edit", "View" and "Window", the last one
/// marked as the menu that lists open windows. Every item targets the first responder.
std::vector<Menu> mainMenu(std::string_view name);

/// The responder spliced after a web window: it carries the window's "reloadPage:".
class WebActions {
public:
    std::weak_ptr<WebWindowController> owner;

    /// Whether this responder handles `action`.
    bool respondsTo(std::string_view action) const;
    /// Reloads the owner's web view when the owner still exists.
    void reloadPage();
    /// Performs `action` when this responder handles it; returns whether it did.
    bool perform(std::string_view action);
};

}  // namespace halyward
